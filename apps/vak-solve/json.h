#pragma once

// JSON, as RFC 8259 defines it.

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace vaksolve {

/// A JSON string for `text`, quotation marks included. Bytes that are not UTF-8 become U+FFFD, the
/// replacement character, so that the result always is.
[[nodiscard]] std::string jsonString(std::string_view text);

/// A JSON value for a number: the shortest text that reads back as the same number. JSON has no
/// infinity, so that is the string "inf" or "-inf", and NaN is null.
[[nodiscard]] std::string jsonNumber(double value);

/// Writes one JSON value piece by piece, indented by two blanks a level. Every begin needs its end,
/// and within an object key() comes before each value.
class JsonWriter {
 public:
  explicit JsonWriter(std::ostream& out) : _out(out) {}

  void beginObject() { begin('{'); }
  void endObject() { end('}'); }
  void beginArray() { begin('['); }
  void endArray() { end(']'); }
  void key(std::string_view name);

  void value(double number) { put(jsonNumber(number)); }
  void value(long number) { put(std::to_string(number)); }
  void value(bool truth) { put(truth ? "true" : "false"); }
  void value(std::string_view text) { put(jsonString(text)); }
  // Without it, a literal would be taken for a truth value.
  void value(const char* text) { value(std::string_view(text)); }
  void null() { put("null"); }
  /// A value that is JSON already.
  void raw(std::string_view json) { put(json); }

  template <class T>
  void member(std::string_view name, const T& v) {
    key(name);
    value(v);
  }

 private:
  void begin(char bracket);
  void end(char bracket);
  void put(std::string_view text);
  void startValue();
  void newLine();

  std::ostream& _out;
  std::vector<bool> _hasElements;  ///< By level: whether something was written in it.
  bool _isAfterKey = false;
};

}  // namespace vaksolve
