#pragma once

// A stream for output that is not wanted.

#include <ostream>
#include <streambuf>

/// An output stream that writes nowhere.
///
/// It is good until the first character, which its buffer refuses, and bad from then on, so that
/// all later output is ignored at once; clear() makes it usable again, with the same effect.
/// Nothing is stored, written, raised or allocated per write. One thread at a time.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
class VakNullStream : public std::ostream {
 public:
  /// Deliberate: no put area and the standard overflow, which refuses every character.
  class Buf : public std::streambuf {
   public:
    Buf();
    ~Buf() override;
  };

  VakNullStream();
  ~VakNullStream() override;

 private:
  Buf _buf;
};
