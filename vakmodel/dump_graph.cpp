// The drawing of models as a graph in the language of dot.

#include <algorithm>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include "vakmodel/dump.h"
#include "vakmodel/dump_text.h"
#include "vakmodel/object_text.h"

namespace {

// A text between quotes. In labels a backslash begins an escape, so it is doubled; a character that
// cannot be drawn is shown by its number.
std::string quoted(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string result = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      result += "\\n";
    } else if (byte < 32 || byte == 127) {
      result += "\\\\x";
      result += digits[byte / 16];
      result += digits[byte % 16];
    } else {
      if (c == '"' || c == '\\') result += '\\';
      result += c;
    }
  }
  return result + '"';
}

std::string nodeOf(char sort, VakExtractable object) {
  return sort + std::to_string(object.getId());
}

const char* shapeOf(VakVarKind kind) {
  switch (kind) {
    case VakVarKind::Integer:
      return "box, style=rounded";
    case VakVarKind::Boolean:
      return "diamond";
    default:
      return "ellipse";
  }
}

class GraphDump {
 public:
  GraphDump(std::ostream& out, std::span<const VakModel> models, const VakGraphOptions& options)
      : _out(out), _options(options) {
    for (const VakModel model : models) {
      if (model.isEmpty() || std::find(_models.begin(), _models.end(), model) != _models.end())
        continue;
      if (!_models.empty() && model.getEnv() != _models.front().getEnv())
        VakThrowMismatch(model.VakExtractable::getImpl(),
                         _models.front().VakExtractable::getImpl());
      _models.push_back(model);
    }
    for (const VakModel model : _models) chooseVariables(model);
    for (const VakModel model : _models) noteShared(model);
  }

  void write() {
    const bool isOne = _models.size() == 1;
    line("graph " + quoted(isOne ? NameOf(_models.front(), "model") : "models") + " {");
    line("  rankdir=LR;");
    for (std::size_t i = 0; i < _models.size(); ++i) {
      if (!isOne) {
        line("  subgraph cluster_" + std::to_string(i) + " {");
        line("    label=" + quoted(NameOf(_models[i], "model")) + ';');
      }
      writeNodes(_models[i], i);
      if (!isOne) line("  }");
    }
    for (const VakNumVar x : _shared) writeVariable(x, ", peripheries=2");
    for (const VakModel model : _models) writeEdges(model);
    line("}");
  }

 private:
  void line(std::string text) {
    text += '\n';
    _out.write(text.data(), static_cast<std::streamsize>(text.size()));
  }

  // Every variable that is drawn for some model is drawn for all that have it.
  void chooseVariables(VakModel model) {
    VakInt left = _options.mostVariables;
    for (const VakNumVar x : model.variables()) {
      _variableNames.note(x);
      if (left-- > 0) _modelsOf.try_emplace(x.VakExtractable::getImpl(), 0);
    }
    for (const VakConstraint c : model.constraints()) _constraintNames.note(c);
  }

  void noteShared(VakModel model) {
    for (const VakNumVar x : model.variables()) {
      const auto place = _modelsOf.find(x.VakExtractable::getImpl());
      if (place != _modelsOf.end() && ++place->second == 2) _shared.push_back(x);
    }
  }

  [[nodiscard]] static std::string NameOf(VakExtractable object, const char* other) {
    return object.getName() == nullptr ? other : object.getName();
  }

  void writeNodes(VakModel model, std::size_t number) {
    VakInt hidden = 0;
    for (const VakNumVar x : model.variables()) {
      const auto place = _modelsOf.find(x.VakExtractable::getImpl());
      if (place == _modelsOf.end()) {
        ++hidden;
      } else if (place->second == 1) {
        writeVariable(x, "");
      }
    }
    VakInt left = _options.mostConstraints;
    for (const VakConstraint c : model.constraints()) {
      if (left-- <= 0) break;
      writeConstraint(c);
    }
    const VakObjective objective = model.getObjective();
    if (!objective.isEmpty()) writeObjective(objective);
    writeNote(model, number, hidden);
  }

  void writeVariable(VakNumVar x, const char* more) {
    const std::string name = _variableNames.get(x);
    std::string label = VakTextOfBounds(x.getLB(), name, x.getUB());
    if (x.getKind() == VakVarKind::Boolean && x.getLB() == 0 && x.getUB() == 1) label = name;
    line("  " + nodeOf('v', x) + " [label=" + quoted(label) + ", shape=" + shapeOf(x.getKind()) +
         more + "];");
  }

  void writeConstraint(VakConstraint c) {
    const std::string label =
        _constraintNames.get(c) + '\n' + VakTextOfBounds(c.getLB(), "sum", c.getUB());
    line("  " + nodeOf('c', c) + " [label=" + quoted(label) + ", shape=box];");
  }

  void writeObjective(VakObjective objective) {
    std::string label = objective.getSense() == VakSense::Minimize ? "minimize" : "maximize";
    if (objective.getName() != nullptr) label += std::string("\n") + objective.getName();
    if (objective.getConstant() != 0) {
      label += "\nconstant " + VakTextOfNumber(objective.getConstant());
    }
    line("  " + nodeOf('o', objective) + " [label=" + quoted(label) + ", shape=house];");
  }

  // Says how much of the model is not drawn.
  void writeNote(VakModel model, std::size_t number, VakInt hiddenVariables) {
    std::string text;
    const auto add = [&text](VakInt count, std::string_view noun) {
      if (count > 0) text += VakTextOfCount(count, noun) + "\n";
    };
    add(hiddenVariables, "more variable");
    add(model.getConstraintCount() - std::max(VakInt{0}, _options.mostConstraints),
        "more constraint");
    VakInt drawnTerms = 0;
    VakInt terms = 0;
    forEachTerm(model, [&](const std::string&, const VakTerm&) { ++drawnTerms; });
    for (const VakConstraint c : model.constraints()) terms += c.getTermCount();
    if (!model.getObjective().isEmpty()) terms += model.getObjective().getTermCount();
    add(terms - drawnTerms, "more term");
    if (text.empty()) return;
    text.pop_back();
    line("  note" + std::to_string(number) + " [label=" + quoted(text) + ", shape=note];");
  }

  void writeEdges(VakModel model) {
    forEachTerm(model, [this](const std::string& from, const VakTerm& term) {
      std::string edge = "  " + from + " -- " + nodeOf('v', term.var);
      if (_options.showsCoefs) edge += " [label=" + quoted(VakTextOfNumber(term.coef)) + ']';
      line(edge + ';');
    });
  }

  // Calls `visit` with the node and the term of every edge that is drawn.
  template <class Visit>
  void forEachTerm(VakModel model, Visit visit) {
    VakInt left = _options.mostTerms;
    const auto visitAll = [&](const std::string& node, VakLinear linear) {
      for (const VakTerm term : linear.terms()) {
        if (left <= 0) return;
        if (!_modelsOf.contains(term.var.VakExtractable::getImpl())) continue;
        visit(node, term);
        --left;
      }
    };
    if (!model.getObjective().isEmpty()) {
      visitAll(nodeOf('o', model.getObjective()), model.getObjective());
    }
    VakInt constraints = _options.mostConstraints;
    for (const VakConstraint c : model.constraints()) {
      if (constraints-- <= 0) break;
      visitAll(nodeOf('c', c), c);
    }
  }

  std::ostream& _out;
  const VakGraphOptions& _options;
  std::vector<VakModel> _models;  ///< Without empty handles.
  VakUniqueNames _variableNames;
  VakUniqueNames _constraintNames;
  /// The variables that are drawn, each with the number of models that have it.
  std::unordered_map<const VakExtractableI*, VakInt> _modelsOf;
  std::vector<VakNumVar> _shared;  ///< Drawn variables of several models, in their order.
};

}  // namespace

void VakDumpGraph(std::ostream& out, VakModel model, const VakGraphOptions& options) {
  VakDumpGraph(out, std::span<const VakModel>(&model, 1), options);
}

void VakDumpGraph(std::ostream& out, std::span<const VakModel> models,
                  const VakGraphOptions& options) {
  GraphDump(out, models, options).write();
}
