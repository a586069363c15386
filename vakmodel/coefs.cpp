// Changes of coefficients, of one object or of many.

#include <algorithm>
#include <functional>
#include <memory>
#include <span>
#include <unordered_map>
#include <utility>

#include "vakmodel/linear_impl.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"
#include "vakmodel/variable_impl.h"

namespace {

// So many terms are looked up one by one; more are looked up in one walk with a table.
constexpr std::size_t MostLookedUp = 4;

bool isBefore(const VakCoefI& a, const VakCoefI& b) { return std::less<>()(a.linear, b.linear); }

// Keeps of each pair of object and variable the last coefficient. The list is sorted by object.
void dropRepeated(std::vector<VakCoefI>& coefs) {
  std::unordered_map<const VakModelVarI*, std::size_t> places;
  const VakExtractableI* linear = nullptr;
  std::size_t kept = 0;
  for (const VakCoefI coef : coefs) {
    if (coef.linear != linear) places.clear();
    linear = coef.linear;
    const auto [place, isNew] = places.try_emplace(coef.var, kept);
    if (isNew) {
      coefs[kept++] = coef;
    } else {
      coefs[place->second] = coef;
    }
  }
  coefs.resize(kept);
}

// The change of a list of coefficients, sorted by object and without repetitions.
class CoefsEdit final : private VakUnsettledI {
 public:
  CoefsEdit(VakEnvI* env, std::span<VakCoefI> coefs)
      : _env(env),
        _coefs(coefs),
        _terms(coefs.size(), nullptr),
        _old(coefs.size(), 0),
        _fresh(env) {
    for (std::size_t i = 0; i < coefs.size();) i = addGroup(i);
    for (Group& group : _groups) lookUp(group);
    for (const Group& group : _groups) prepare(group);
  }

  // Cannot fail.
  void apply() {
    for (auto group = _groups.rbegin(); group != _groups.rend(); ++group) {
      for (std::size_t i = group->end; i-- > group->first;) exchange(*group, i);
    }
  }

  // Afterwards `_coefs` has the coefficients that were there before. Listeners may have ended other
  // variables, so terms behind the new ones may be gone.
  void takeBack() {
    for (const Group& group : _groups) {
      group.linear->_terms.cut(_env, group.added);
      for (std::size_t i = group.first; i < group.end; ++i) {
        if (_terms[i] != nullptr) _terms[i]->coef = _old[i];
        _coefs[i].coef = _old[i];
      }
    }
  }

  void finish() {
    for (const Group& group : _groups) {
      if (group.hasZeros) group.linear->_terms.dropZeros(_env);
    }
    for (const auto& joining : _joinings) joining->keep();
  }

  void takeBackVariables() noexcept {
    for (const auto& joining : _joinings) joining->takeBack();
  }

  // The object that a report is about; null when there are several.
  [[nodiscard]] const VakExtractableI* subject() const {
    return _groups.size() == 1 ? _groups.front().linear : nullptr;
  }

 private:
  [[nodiscard]] bool holds(const VakExtractableI* e) const noexcept override {
    return std::any_of(_coefs.begin(), _coefs.end(), [e](const VakCoefI& coef) {
      return coef.linear == e || coef.var == e ||
             static_cast<const VakLinearI*>(coef.linear)->_model == e;
    });
  }

  // The coefficients of one object: those from `first` on and before `end`.
  struct Group {
    VakLinearI* linear;
    std::size_t first;
    std::size_t end;
    bool hasZeros = false;
    VakInt added = 0;  // Terms that were prepended.
  };

  std::size_t addGroup(std::size_t first) {
    std::size_t end = first;
    bool hasZeros = false;
    for (; end < _coefs.size() && _coefs[end].linear == _coefs[first].linear; ++end) {
      hasZeros = hasZeros || _coefs[end].coef == 0;
    }
    _groups.push_back({static_cast<VakLinearI*>(_coefs[first].linear), first, end, hasZeros});
    return end;
  }

  void lookUp(const Group& group) {
    const VakTermListI& list = group.linear->_terms;
    if (group.end - group.first <= MostLookedUp) {
      for (std::size_t i = group.first; i < group.end; ++i) _terms[i] = list.find(_coefs[i].var);
      return;
    }
    std::unordered_map<const VakNumVarI*, std::size_t> wanted;
    wanted.reserve(group.end - group.first);
    for (std::size_t i = group.first; i < group.end; ++i) wanted.emplace(_coefs[i].var, i);
    for (VakNumLinExprTermI* term = list.first(); term != nullptr; term = term->next) {
      const auto found = wanted.find(term->var);
      if (found != wanted.end()) _terms[found->second] = term;
    }
  }

  // Makes the terms that are missing and lets their variables join the model.
  void prepare(const Group& group) {
    VakJoiningI* joining = nullptr;
    for (std::size_t i = group.first; i < group.end; ++i) {
      if (_terms[i] != nullptr || _coefs[i].coef == 0) continue;
      if (joining == nullptr) joining = joiningOf(group.linear->_model);
      if (joining != nullptr) joining->join(_coefs[i].var);
      _fresh.make(_coefs[i].var, _coefs[i].coef);
    }
  }

  VakJoiningI* joiningOf(VakModelI* model) {
    if (model == nullptr) return nullptr;
    for (const auto& joining : _joinings) {
      if (joining->getModel() == model) return joining.get();
    }
    _joinings.push_back(std::make_unique<VakJoiningI>(model));
    return _joinings.back().get();
  }

  void exchange(Group& group, std::size_t i) {
    if (_terms[i] != nullptr) {
      _old[i] = std::exchange(_terms[i]->coef, _coefs[i].coef);
    } else if (_coefs[i].coef != 0) {
      group.linear->_terms.prepend(_fresh.takeFirst());
      ++group.added;
    }
  }

  VakEnvI* _env;
  std::span<VakCoefI> _coefs;
  std::vector<VakNumLinExprTermI*> _terms;  // By coefficient: its term before; null for none.
  std::vector<VakNum> _old;                 // By coefficient: what it was before.
  VakOwnTermsI _fresh;                      // The missing terms, in the order of the list.
  std::vector<Group> _groups;
  std::vector<std::unique_ptr<VakJoiningI>> _joinings;  // One for each model that gets variables.
};

}  // namespace

void VakAssignCoefs(VakEnvI* env, std::vector<VakCoefI>& coefs) {
  if (coefs.empty()) return;
  if (coefs.size() > 1) {
    if (!std::is_sorted(coefs.begin(), coefs.end(), isBefore)) {
      std::stable_sort(coefs.begin(), coefs.end(), isBefore);
    }
    dropRepeated(coefs);
  }
  CoefsEdit edit(env, coefs);
  edit.apply();
  const VakCoefsChange change(coefs);
  try {
    VakReport(env, edit.subject(), change);
  } catch (...) {
    edit.takeBack();
    VakReportAgain(env, edit.subject(), change);
    edit.takeBackVariables();
    throw;
  }
  edit.finish();
}
