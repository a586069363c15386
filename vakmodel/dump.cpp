// The dump of a model as text.

#include "vakmodel/dump.h"

#include <algorithm>
#include <ostream>
#include <string>

#include "vakmodel/dump_text.h"

namespace {

// True for what a name may consist of and still be told from the text around it. Bytes above 127
// belong to letters of other languages.
bool isPlain(char c) {
  const auto byte = static_cast<unsigned char>(c);
  if (byte > 127) return true;
  const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return isLetter || (c >= '0' && c <= '9') ||
         std::string_view("_.[](),!$%&{}~'`|@").find(c) != std::string_view::npos;
}

bool isPlain(std::string_view name) {
  if (name.empty() || (name[0] >= '0' && name[0] <= '9') || name[0] == '.') return false;
  if (name == "free" || name == "inf" || name == "nan") return false;
  return std::all_of(name.begin(), name.end(), [](char c) { return isPlain(c); });
}

void appendQuoted(std::string& text, char c) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  if (c == '"' || c == '\\') {
    text += '\\';
    text += c;
  } else if (c == '\n') {
    text += "\\n";
  } else if (c == '\t') {
    text += "\\t";
  } else if (byte < 32 || byte == 127) {
    text += "\\x";
    text += digits[byte / 16];
    text += digits[byte % 16];
  } else {
    text += c;
  }
}

std::string quoted(std::string_view name) {
  std::string text = "\"";
  for (const char c : name) appendQuoted(text, c);
  return text + '"';
}

std::string readable(std::string_view name) {
  return isPlain(name) ? std::string(name) : quoted(name);
}

/// Writes pieces that are separated by a blank or, where the line would be too long, by its end.
class Lines {
 public:
  Lines(std::ostream& out, VakInt width)
      : _out(out), _width(width > 0 ? static_cast<std::size_t>(width) : 0) {}

  void add(std::string_view piece) {
    if (_isFresh) {
      _line.assign(_indent, ' ');
    } else if (_line.size() + 1 + piece.size() > _width) {
      write();
      _line.assign(_indent + Deeper, ' ');
    } else {
      _line += ' ';
    }
    _line += piece;
    _isFresh = false;
  }
  void end() {
    if (!_isFresh) write();
    _isFresh = true;
  }
  void add(std::string_view piece, std::size_t indent) {
    end();
    _indent = indent;
    add(piece);
  }

 private:
  static constexpr std::size_t Deeper = 4;  // blanks by which a line that goes on is set in

  void write() {
    _line += '\n';
    _out.write(_line.data(), static_cast<std::streamsize>(_line.size()));
  }

  std::ostream& _out;
  std::size_t _width;
  std::size_t _indent = 0;
  std::string _line;
  bool _isFresh = true;  ///< True when nothing is waiting in the line.
};

class TextDump {
 public:
  TextDump(std::ostream& out, VakModel model, const VakDumpOptions& options)
      : _lines(out, options.lineWidth), _model(model), _options(options) {
    for (const VakNumVar x : model.variables()) _variableNames.note(x);
    for (const VakConstraint c : model.constraints()) _constraintNames.note(c);
  }

  void write() {
    writeHead();
    writeObjective();
    writeConstraints();
    writeBounds();
    writeKind(VakVarKind::Integer);
    writeKind(VakVarKind::Boolean);
    _lines.end();
  }

 private:
  static constexpr std::size_t Indent = 2;

  void writeHead() {
    std::string head = "model";
    if (_model.getName() != nullptr) head += ' ' + readable(_model.getName());
    _lines.add(head + ": " + VakTextOfCount(_model.getVariableCount(), "variable") + ", " +
                   VakTextOfCount(_model.getConstraintCount(), "constraint") + ", " +
                   VakTextOfCount(_model.getTermCount(), "term"),
               0);
  }

  void writeObjective() {
    const VakObjective objective = _model.getObjective();
    if (objective.isEmpty()) return;
    _lines.add(objective.getSense() == VakSense::Minimize ? "minimize" : "maximize", 0);
    _lines.end();
    const char* name = objective.getName();
    start(name == nullptr ? std::string() : readable(name) + ':');
    writeTerms(objective);
    writeConstant(objective);
  }

  void writeConstraints() {
    VakInt left = _options.mostConstraints;
    if (_model.getConstraintCount() != 0) _lines.add("subject to", 0);
    for (const VakConstraint c : _model.constraints()) {
      if (left-- <= 0) break;
      writeConstraint(c);
    }
    writeRest(_model.getConstraintCount() - _options.mostConstraints, "constraint");
  }

  void writeConstraint(VakConstraint c) {
    const VakNum lb = c.getLB();
    const VakNum ub = c.getUB();
    start(c.getName() == nullptr ? std::string() : NameOf(_constraintNames, c) + ':');
    const bool hasBoth = lb != -VakGetInfinity() && ub != VakGetInfinity() && lb != ub;
    if (hasBoth) addPiece(VakTextOfNumber(lb) + " <=");
    writeTerms(c);
    if (hasBoth) {
      addPiece("<= " + VakTextOfNumber(ub));
    } else {
      addPiece(VakTextOfBounds(lb, "", ub).substr(1));
    }
  }

  // The first piece of an entry comes with it, so that a name is not left alone in its line.
  void start(std::string prefix) {
    _lines.end();
    _prefix = std::move(prefix);
    _isStart = true;
  }
  void addPiece(std::string_view piece) {
    if (!_isStart) {
      _lines.add(piece);
      return;
    }
    _isStart = false;
    if (!_prefix.empty()) _prefix += ' ';
    _lines.add(_prefix.append(piece), Indent);
  }

  void writeTerms(VakLinear linear) {
    VakInt left = _options.mostTerms;
    bool isFirst = true;
    for (const VakTerm term : linear.terms()) {
      if (left-- <= 0) break;
      addPiece(textOf(term, isFirst));
      isFirst = false;
    }
    const VakInt rest = linear.getTermCount() - std::max(VakInt{0}, _options.mostTerms);
    if (rest > 0) {
      addPiece((isFirst ? "... " : "+ ... ") + VakTextOfCount(rest, "more term"));
    } else if (isFirst) {
      addPiece("0");
    }
  }

  void writeConstant(VakObjective objective) {
    const VakNum constant = objective.getConstant();
    if (constant == 0) return;
    addPiece((constant < 0 ? "- " : "+ ") + VakTextOfNumber(constant < 0 ? -constant : constant));
  }

  [[nodiscard]] std::string textOf(const VakTerm& term, bool isFirst) const {
    const VakNum size = term.coef < 0 ? -term.coef : term.coef;
    std::string_view sign = term.coef < 0 ? "- " : "+ ";
    if (isFirst) sign = term.coef < 0 ? "-" : "";
    std::string text(sign);
    if (size != 1) text += VakTextOfNumber(size) + ' ';
    return text + NameOf(_variableNames, term.var);
  }

  void writeBounds() {
    VakInt left = _options.mostVariables;
    bool hasHead = false;
    for (const VakNumVar x : _model.variables()) {
      if (left-- <= 0) break;
      const VakNum lb = x.getLB();
      const VakNum ub = x.getUB();
      if (x.getKind() == VakVarKind::Boolean && lb == 0 && ub == 1) continue;
      if (!hasHead) _lines.add("bounds", 0);
      hasHead = true;
      _lines.add(VakTextOfBounds(lb, NameOf(_variableNames, x), ub), Indent);
    }
    if (!hasHead && _model.getVariableCount() > _options.mostVariables) _lines.add("bounds", 0);
    writeRest(_model.getVariableCount() - _options.mostVariables, "variable");
  }

  void writeKind(VakVarKind kind) {
    VakInt left = _options.mostVariables;
    bool hasHead = false;
    for (const VakNumVar x : _model.variables()) {
      if (left-- <= 0) break;
      if (x.getKind() != kind) continue;
      if (hasHead) {
        _lines.add(NameOf(_variableNames, x));
      } else {
        _lines.add(VakGetKindName(kind), 0);
        _lines.add(NameOf(_variableNames, x), Indent);
        hasHead = true;
      }
    }
  }

  void writeRest(VakInt rest, std::string_view noun) {
    if (rest > 0) {
      _lines.add("... " + VakTextOfCount(rest, "more " + std::string(noun)), Indent);
    }
  }

  [[nodiscard]] static std::string NameOf(const VakUniqueNames& names, VakExtractable object) {
    std::string unique = names.get(object);
    if (object.getName() == nullptr) return unique;
    const std::string_view name = object.getName();
    return readable(name) + unique.substr(name.size());
  }

  Lines _lines;
  VakModel _model;
  const VakDumpOptions& _options;
  VakUniqueNames _variableNames;
  VakUniqueNames _constraintNames;
  std::string _prefix;    ///< What precedes the first piece of the entry.
  bool _isStart = false;  ///< True before the first piece of an entry.
};

}  // namespace

void VakDumpModel(std::ostream& out, VakModel model, const VakDumpOptions& options) {
  if (model.isEmpty()) {
    Lines lines(out, options.lineWidth);
    lines.add(VakEmptyHandleText);
    lines.end();
    return;
  }
  TextDump(out, model, options).write();
}
