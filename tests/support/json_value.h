#pragma once

// JSON read strictly, so that a test holds what the library writes against the standard and not
// against the library's own idea of it.

#include <cctype>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// A value of a JSON text with whole numbers, as the library's reports have them.
struct VakJsonValue {
  enum class Kind { Null, Bool, Number, String, Array, Object };

  Kind kind = Kind::Null;
  bool truth = false;
  long number = 0;
  std::string text;
  std::vector<VakJsonValue> elements;
  std::map<std::string, VakJsonValue> members;

  /// The member of this name; throws std::out_of_range when there is none.
  const VakJsonValue& operator[](const std::string& name) const { return members.at(name); }
};

/// Reads a JSON text; throws std::runtime_error with the place of the first character that RFC 8259
/// does not allow there, or of a second member of one name.
class VakJsonReader {
 public:
  [[nodiscard]] static VakJsonValue Read(const std::string& text) {
    VakJsonReader reader(text);
    VakJsonValue value = reader.readValue();
    if (reader._at != text.size()) reader.fail("nothing more");
    return value;
  }

 private:
  explicit VakJsonReader(const std::string& text) : _text(text) {}

  [[noreturn]] void fail(const char* expected) const {
    throw std::runtime_error("expected " + std::string(expected) + " at " + std::to_string(_at) +
                             ": " + _text.substr(_at, 20));
  }
  [[nodiscard]] char next() const { return _at < _text.size() ? _text[_at] : '\0'; }
  bool accept(char c) {
    if (next() != c) return false;
    ++_at;
    return true;
  }
  void expect(const std::string& word) {
    if (_text.compare(_at, word.size(), word) != 0) fail(word.c_str());
    _at += word.size();
  }

  VakJsonValue readValue() {
    VakJsonValue value;
    switch (next()) {
      case '{':
        return readObject();
      case '[':
        return readArray();
      case '"':
        value.kind = VakJsonValue::Kind::String;
        value.text = readString();
        return value;
      case 'n':
        expect("null");
        return value;
      case 't':
      case 'f':
        value.kind = VakJsonValue::Kind::Bool;
        value.truth = next() == 't';
        expect(value.truth ? "true" : "false");
        return value;
      default:
        return readNumber();
    }
  }

  VakJsonValue readNumber() {
    const std::size_t start = _at;
    accept('-');
    if (std::isdigit(static_cast<unsigned char>(next())) == 0) fail("a digit");
    if (!accept('0')) {
      while (std::isdigit(static_cast<unsigned char>(next())) != 0) ++_at;
    }
    VakJsonValue value;
    value.kind = VakJsonValue::Kind::Number;
    value.number = std::stol(_text.substr(start, _at - start));
    return value;
  }

  std::string readString() {
    std::string text;
    expect("\"");
    while (!accept('"')) {
      if (_at >= _text.size() || static_cast<unsigned char>(next()) < 0x20) fail("a character");
      text += accept('\\') ? readEscape() : _text[_at++];
    }
    return text;
  }

  char readEscape() {
    static const std::map<char, char> escapes = {{'"', '"'},  {'\\', '\\'}, {'/', '/'},
                                                 {'b', '\b'}, {'f', '\f'},  {'n', '\n'},
                                                 {'r', '\r'}, {'t', '\t'}};
    if (accept('u')) {
      const std::string digits = _text.substr(_at, 4);
      if (digits.size() != 4 || digits.compare(0, 2, "00") != 0) fail("the escape of one byte");
      _at += 4;
      return static_cast<char>(std::stoi(digits, nullptr, 16));
    }
    const auto escape = escapes.find(next());
    if (escape == escapes.end()) fail("an escape");
    ++_at;
    return escape->second;
  }

  VakJsonValue readArray() {
    VakJsonValue value;
    value.kind = VakJsonValue::Kind::Array;
    expect("[");
    if (accept(']')) return value;
    do value.elements.push_back(readValue());
    while (accept(','));
    expect("]");
    return value;
  }

  VakJsonValue readObject() {
    VakJsonValue value;
    value.kind = VakJsonValue::Kind::Object;
    expect("{");
    if (accept('}')) return value;
    do {
      const std::string name = readString();
      expect(":");
      if (!value.members.emplace(name, readValue()).second) fail("a new name");
    } while (accept(','));
    expect("}");
    return value;
  }

  const std::string& _text;
  std::size_t _at = 0;  ///< Index of the next character.
};
