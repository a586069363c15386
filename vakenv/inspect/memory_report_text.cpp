// How a memory report is written: as a table and as JSON.

#include <initializer_list>
#include <iomanip>
#include <locale>
#include <ostream>
#include <sstream>

#include "vakenv/inspect/memory_report.h"

namespace {

using SizeClass = VakMemoryReport::SizeClass;
using Type = VakMemoryReport::Type;
using Amount = VakMemoryReport::Amount;

constexpr int NumberWidth = 12;
constexpr int NameWidth = 36;

// ---- Table --------------------------------------------------------------------------------------

// The table is put together here, so that neither flags of the user's stream change it nor it them,
// and in the classic locale, so that programs read numbers without separators everywhere.
class Table {
 public:
  Table() {
    _text.imbue(std::locale::classic());
    // Else lines that there is no memory for would be left out unseen.
    _text.exceptions(std::ios::badbit);
  }

  void line(const char* name, std::initializer_list<VakInt> numbers) {
    line(std::string(name), numbers);
  }
  void line(const std::string& name, std::initializer_list<VakInt> numbers) {
    _text << std::left << std::setw(NameWidth) << name << std::right;
    // The blank keeps numbers apart that fill their columns.
    for (const VakInt number : numbers) _text << ' ' << std::setw(NumberWidth - 1) << number;
    _text << '\n';
  }
  void heading(const char* name, std::initializer_list<const char*> columns) {
    _text << std::left << std::setw(NameWidth) << name << std::right;
    for (const char* column : columns) _text << std::setw(NumberWidth) << column;
    _text << '\n';
  }
  void sizeClass(const std::string& name, const SizeClass& c) {
    line(name, {c.blocks, c.elements, c.live, c.free, c.peak, c.wasted});
  }
  void typeLines(const char* name, const std::vector<Type>& types) {
    if (types.empty()) return;
    heading(name, {"count", "bytes"});
    for (const Type& type : types) line("  " + type.name, {type.count, type.bytes});
  }
  [[nodiscard]] std::string getText() const { return _text.str(); }

 private:
  std::ostringstream _text;
};

// ---- JSON ---------------------------------------------------------------------------------------

// Names of C++ types hold quotes at most, but a report is a value that anybody may fill.
std::string quote(const std::string& text) {
  constexpr unsigned char firstPrintable = 0x20;
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < firstPrintable) {
      quoted += "\\u00";
      quoted += "0123456789abcdef"[byte / 16];
      quoted += "0123456789abcdef"[byte % 16];
      continue;
    }
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

class Json {
 public:
  Json& member(const char* name, VakInt value) { return raw(name, std::to_string(value)); }
  Json& member(const char* name, bool value) { return raw(name, value ? "true" : "false"); }
  Json& member(const char* name, const std::string& value) { return raw(name, quote(value)); }
  Json& raw(const char* name, const std::string& json) {
    _text += (_text.empty() ? "" : ",") + quote(name) + ":" + json;
    return *this;
  }
  [[nodiscard]] std::string getText() const { return "{" + _text + "}"; }

 private:
  std::string _text;
};

std::string toJson(const SizeClass& c) {
  return Json()
      .member("elementSize", c.elementSize)
      .member("blocks", c.blocks)
      .member("elements", c.elements)
      .member("live", c.live)
      .member("free", c.free)
      .member("peak", c.peak)
      .member("wasted", c.wasted)
      .getText();
}

std::string toJson(const Type& type) {
  return Json()
      .member("name", type.name)
      .member("count", type.count)
      .member("bytes", type.bytes)
      .getText();
}

std::string toJson(const Amount& amount) {
  return Json().member("count", amount.count).member("bytes", amount.bytes).getText();
}

template <class T>
std::string toJson(const std::vector<T>& list) {
  std::string text;
  for (const T& element : list) text += (text.empty() ? "" : ",") + toJson(element);
  return "[" + text + "]";
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const VakMemoryReport& report) {
  Table table;
  table.heading("size class", {"blocks", "elements", "live", "free", "peak", "wasted"});
  for (const SizeClass& c : report.classes) {
    table.sizeClass("  " + std::to_string(c.elementSize) + " bytes", c);
  }
  table.sizeClass("  terms, " + std::to_string(report.terms.elementSize) + " bytes", report.terms);
  table.typeLines("registered objects", report.types);
  table.heading("held by the environment", {"count", "bytes"});
  table.line("  identifiers", {report.identifiers.count, report.identifiers.bytes});
  table.line("  symbols", {report.symbols.count, report.symbols.bytes});
  table.line("  arrays", {report.arrays.count, report.arrays.bytes});
  table.typeLines("everything in use", report.made);
  table.heading("total", {"bytes"});
  table.line("  in use", {report.inUse});
  table.line("  obtained", {report.obtained});
  table.line("  high water, at least", {report.highWater});
  return out << table.getText();
}

std::string VakMemoryReport::toJson() const {
  return Json()
      .member("isPooled", isPooled)
      .member("isChecked", isChecked)
      .raw("classes", ::toJson(classes))
      .raw("terms", ::toJson(terms))
      .raw("types", ::toJson(types))
      .raw("identifiers", ::toJson(identifiers))
      .raw("symbols", ::toJson(symbols))
      .raw("arrays", ::toJson(arrays))
      .raw("made", isChecked ? ::toJson(made) : "null")
      .member("inUse", inUse)
      .member("obtained", obtained)
      .member("highWater", highWater)
      .getText();
}
