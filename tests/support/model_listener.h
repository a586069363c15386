#pragma once

// An algorithm that writes down in words what changes of a model it is told of, and refuses what a
// test wants it to refuse.

#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "vakmodel/changes.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/extractable.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/variable_impl.h"

/// The name of an object; its class for one without a name, "-" for null.
inline std::string VakModelNameOf(const VakExtractableI* e) {
  if (e == nullptr) return "-";
  return e->getName() != nullptr ? e->getName() : e->getRttiTypeName();
}

/// The names of objects, as in "[x y]".
template <class Objects>
std::string VakModelNamesOf(const Objects& objects) {
  std::string text = "[";
  for (const VakExtractableI* e : objects) {
    if (text.size() > 1) text += ' ';
    text += VakModelNameOf(e);
  }
  return text + "]";
}

/// Coefficients, as in "[c:x=3 c:y=0]".
inline std::string VakModelCoefsText(std::span<const VakCoefI> coefs) {
  std::ostringstream text;
  for (const VakCoefI& coef : coefs) {
    text << (text.tellp() > 0 ? " " : "") << VakModelNameOf(coef.linear) << ':'
         << VakModelNameOf(coef.var) << '=' << coef.coef;
  }
  return "[" + text.str() + "]";
}

/// A change in words, as in "bounds [x]" or "add m variables [x y] constraints [c]".
inline std::string VakModelChangeText(const VakChange& change) {
  if (change.isType(VakVariablesChange::GetTypeInfo()) != 0) {
    const char* kind = change.isType(VakBoundsChange::GetTypeInfo()) != 0 ? "bounds " : "kind ";
    return kind + VakModelNamesOf(static_cast<const VakVariablesChange&>(change).getVariables());
  }
  if (change.isType(VakRowBoundsChange::GetTypeInfo()) != 0) {
    return "row bounds " +
           VakModelNamesOf(static_cast<const VakRowBoundsChange&>(change).getConstraints());
  }
  if (change.isType(VakCoefsChange::GetTypeInfo()) != 0) {
    return "coefs " + VakModelCoefsText(static_cast<const VakCoefsChange&>(change).getCoefs());
  }
  if (change.isType(VakLinearChange::GetTypeInfo()) != 0) {
    std::string kind = "terms ";
    if (change.isType(VakSenseChange::GetTypeInfo()) != 0) kind = "sense ";
    if (change.isType(VakConstantChange::GetTypeInfo()) != 0) kind = "constant ";
    return kind + VakModelNameOf(static_cast<const VakLinearChange&>(change).getLinear());
  }
  if (change.isType(VakMembersChange::GetTypeInfo()) != 0) {
    const auto& c = static_cast<const VakMembersChange&>(change);
    const bool isAdded = change.isType(VakAddChange::GetTypeInfo()) != 0;
    std::string text = (isAdded ? "add " : "remove ") + VakModelNameOf(c.getModel());
    const VakMembersView& members = c.getMembers();
    if (!members.variables.empty()) text += " variables " + VakModelNamesOf(members.variables);
    if (!members.constraints.empty()) {
      text += " constraints " + VakModelNamesOf(members.constraints);
    }
    if (members.objective != nullptr) text += " objective " + VakModelNameOf(members.objective);
    if (isAdded && !static_cast<const VakAddChange&>(c).getCoefs().empty()) {
      text += " coefs " + VakModelCoefsText(static_cast<const VakAddChange&>(c).getCoefs());
    }
    return text;
  }
  if (change.isType(VakDestroyExtractable::GetTypeInfo()) != 0) {
    return "destroy " +
           VakModelNameOf(static_cast<const VakDestroyExtractable&>(change).getExtractable());
  }
  if (change.isType(VakRemoveFromAllChange::GetTypeInfo()) != 0) {
    return "removed from all " +
           VakModelNamesOf(static_cast<const VakRemoveFromAllChange&>(change).getExtractables());
  }
  return "unknown change";
}

/// Made with `new`, attached at once, ended as algorithms are.
class VakModelListener : public VakAlgorithmI {
 public:
  using Reaction = std::function<void(VakModelListener&, const VakChange&)>;

  explicit VakModelListener(VakEnv env, std::string name = "")
      : VakAlgorithmI(env.getImpl()), _name(std::move(name)) {
    attach();
  }

  void change(const VakChange& change, const VakExtractableI* extractable) override {
    tell(change, " / " + VakModelNameOf(extractable));
  }
  void change(const VakChange& change) override { tell(change, ""); }

  /// Refuses the next change, naming these objects.
  void refuseNext(std::vector<VakExtractable> objects) {
    _reaction = [objects](VakModelListener& self, const VakChange&) {
      self._reaction = {};
      self.refuse(objects);
    };
  }
  /// Refuses, naming these objects.
  [[noreturn]] void refuse(const std::vector<VakExtractable>& objects) {
    VakExtractableArray array{VakEnv(_env)};
    for (const VakExtractable object : objects) array.add(object.getImpl());
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), array);
  }

  /// What was told since the last call, one change a line.
  std::string takeLog() {
    std::string text;
    for (const std::string& line : _log) text += text.empty() ? line : "\n" + line;
    _log.clear();
    return text;
  }

  Reaction _reaction;  ///< Called with every change, after it was written down.

 private:
  void tell(const VakChange& change, const std::string& subject) {
    _log.push_back(_name + VakModelChangeText(change) + subject);
    const Reaction reaction = _reaction;
    if (reaction) reaction(*this, change);
  }

  std::string _name;
  std::vector<std::string> _log;
};
