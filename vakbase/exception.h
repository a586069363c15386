#pragma once

// The root of everything the library throws. VakExceptionBase holds the message and the operations
// whose order among the virtual functions is fixed; VakException joins it to std::exception;
// VakWrongUsage reports misuse that has a message of its own. Exceptions are thrown by value and
// caught by reference.

#include <exception>
#include <iosfwd>

/// What every exception of the library holds and does. It is a class of its own so that these
/// virtual functions come first in the virtual table of VakException: the two destructors,
/// getMessage, print and end, in this order.
///
/// The message is kept as the pointer that was given, never copied, and a copy of the exception
/// holds the same pointer. Invariant: _flag != 0 exactly while the exception owns its message.
///
/// Threads: confined to the thread that throws and the ones that it is handed on to, one after the
///     other.
/// Phases: any; an exception may outlive its environment, what it refers to does not.
/// Gives back: end() takes back what some exceptions carry, as their comments say.
class VakExceptionBase {
 public:
  virtual ~VakExceptionBase();

  /// Returns the message as it was given, which may be null; the exception keeps it.
  [[nodiscard]] virtual const char* getMessage() const;

  /// Writes the message to `out`; writes nothing, and leaves the stream good, when the message is
  /// null.
  virtual void print(std::ostream& out) const;

  /// Releases a message that the exception owns; the message is null afterwards. An exception that
  /// owns nothing stays as it is. Where copies of an owning exception exist, one of them is ended
  /// and the message of the others is no longer looked at.
  virtual void end();

 protected:
  /// As VakException's.
  VakExceptionBase(const char* message, long flag);
  VakExceptionBase(const VakExceptionBase& other);
  VakExceptionBase& operator=(const VakExceptionBase& other);

  const char* _message;  ///< The text, or null; owned only when `_flag` is not 0.
  long _flag;            ///< 0: the text is a literal or the thrower's; else an owned `new char[]`.
};

/// Base of every exception that the library throws, also caught as std::exception.
///
/// Threads: confined, as VakExceptionBase says; this holds for every exception.
/// Phases: any; an exception may outlive its environment, the objects that it names do not.
/// Gives back: end() takes back what some exceptions carry, as their comments say.
class VakException : public VakExceptionBase, public std::exception {
 public:
  /// Keeps `message`. With `flag` 0 it has to outlive the exception, as a literal does. With any
  /// other flag it was made by `new char[]` and the exception owns it; only end() releases it, the
  /// destructor never does, since every copy that is made while an exception is thrown holds the
  /// same pointer.
  VakException(const char* message, long flag);
  VakException(const VakException& other);
  VakException& operator=(const VakException& other);
  ~VakException() override;

  /// Returns the message, or the empty text when it is null.
  [[nodiscard]] const char* what() const noexcept override;
};

/// Writes what VakException::print writes.
std::ostream& operator<<(std::ostream& out, const VakException& exception);

/// Thrown when the caller did what the library does not allow; the message says what that was.
class VakWrongUsage : public VakException {
 public:
  explicit VakWrongUsage(const char* message);
  VakWrongUsage(const VakWrongUsage& other);
  VakWrongUsage& operator=(const VakWrongUsage& other);
  ~VakWrongUsage() override;
};
