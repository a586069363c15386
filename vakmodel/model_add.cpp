// What joins a model, one by one and in bulk.

#include <cmath>
#include <vector>

#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"

/// What joins a model in one change, until it is reported. If that fails, or something before it,
/// all leaves the model again, and what was made for the change is deleted.
class VakModelI::Addition {
 public:
  /// Which members were made for the change.
  enum Made : unsigned { Nothing = 0, Variables = 1, Constraints = 2 };

  Addition(VakModelI* model, Made made) : _model(model), _made(made) {
    VakCheckUsable(model, model->_env, nullptr);
    model->tidy();
    _variablesFrom = model->_variables.size();
    _constraintsFrom = model->_constraints.size();
  }
  ~Addition() {
    if (_isKept) return;
    const VakMembersView members = getMembers();
    leave();
    deleteMade(members);
  }
  Addition(const Addition&) = delete;
  Addition& operator=(const Addition&) = delete;

  void add(VakModelVarI* variable) { _model->join(variable); }
  void add(VakConstraintI* constraint) {
    _model->takeIn(constraint);
    _model->link(constraint);
  }
  void add(VakObjectiveI* objective) {
    _model->takeIn(objective);
    _model->setObjective(objective);
    _objective = objective;
  }
  /// Makes an objective for the change when the model has none.
  VakObjectiveI* needObjective() {
    if (_model->_objective == nullptr) {
      _objective = VakCreate<VakObjectiveI>(_model->_env, VakSense::Minimize);
      _ownsObjective = true;
      _model->setObjective(_objective);
    }
    return _model->_objective;
  }

  /// Reports what joined, with these coefficients of it in older objects.
  void report(std::span<const VakCoefI> coefs = {}) {
    const VakMembersView members = getMembers();
    _isKept = true;
    if (members.variables.empty() && members.constraints.empty() && _objective == nullptr) return;
    try {
      _model->_env->change(_model, VakAddChange(_model, members, coefs));
    } catch (...) {
      leave();
      VakReportAgain(_model->_env, _model, VakRemoveChange(_model, members));
      deleteMade(members);
      throw;
    }
  }

 private:
  [[nodiscard]] VakMembersView getMembers() const {
    return {{_model->_variables.list(), _variablesFrom, _model->_variables.size()},
            {_model->_constraints.list(), _constraintsFrom, _model->_constraints.size()},
            _objective};
  }

  void leave() {
    if ((_made & Variables) != 0) {
      _model->forEachLinear([this](VakLinearI* linear) { cutTerms(linear->_terms); });
    }
    if (_objective != nullptr) _model->setObjective(nullptr);
    _model->unlinkFrom(_constraintsFrom);
    _model->unjoin(_variablesFrom);
  }

  // The terms of new variables stand at the end of a list, because they were appended.
  void cutTerms(VakTermListI& terms) {
    if (terms.empty() || !isNew(terms.last()->var)) return;
    VakTermListI::Mark mark;
    for (VakNumLinExprTermI* t = terms.first(); !isNew(t->var); t = t->next) {
      mark.last = t;
      ++mark.size;
    }
    mark.rising = terms.mark().rising;
    terms.truncate(_model->_env, mark);
  }
  [[nodiscard]] bool isNew(const VakNumVarI* variable) const {
    return _model->_placeOf[variable->id] > _variablesFrom;
  }

  void deleteMade(const VakMembersView& members) {
    if ((_made & Constraints) != 0) {
      for (VakConstraintI* constraint : members.constraints) delete constraint;
    }
    if (_ownsObjective) delete _objective;
    if ((_made & Variables) != 0) {
      for (VakModelVarI* variable : members.variables) delete variable;
    }
  }

  VakModelI* _model;
  Made _made;
  VakInt _variablesFrom = 0;
  VakInt _constraintsFrom = 0;
  VakObjectiveI* _objective = nullptr;
  bool _ownsObjective = false;
  bool _isKept = false;
};

// ---- Objects that are there already -------------------------------------------------------------

void VakModelI::checkAddable(const VakLinearI* linear) const {
  VakCheckUsable(linear, _env, this);
  if (linear->_model == nullptr) return;
  VakThrowModelError(linear, "%s is in %s already. Remove it there before it is added to %s.",
                     VakObjectText(linear).get(), VakObjectText(linear->_model).get(),
                     VakObjectText(this).get());
}

void VakModelI::takeIn(const VakLinearI* linear) {
  checkAddable(linear);
  for (const VakNumLinExprTermI* t = linear->_terms.first(); t != nullptr; t = t->next) {
    join(static_cast<VakModelVarI*>(t->var));
  }
}

void VakModelI::add(std::span<VakModelVarI* const> variables) {
  Addition addition(this, Addition::Nothing);
  for (VakModelVarI* variable : variables) {
    VakCheckUsable(variable, _env, this);
    addition.add(variable);
  }
  addition.report();
}

void VakModelI::add(std::span<VakConstraintI* const> constraints) {
  Addition addition(this, Addition::Nothing);
  for (VakConstraintI* constraint : constraints) addition.add(constraint);
  addition.report();
}

void VakModelI::add(VakObjectiveI* objective) {
  Addition addition(this, Addition::Nothing);
  checkAddable(objective);
  if (_objective != nullptr) {
    VakThrowModelError(this, "%s has %s already. Change that one, or remove it first.",
                       VakObjectText(this).get(), VakObjectText(_objective).get());
  }
  addition.add(objective);
  addition.report();
}

void VakModelI::add(std::span<const VakRelation> relations, std::span<VakConstraint> made,
                    const char* name) {
  if (!made.empty()) VakCheckSizes("VakModel::add", relations.size(), made.size());
  Addition addition(this, Addition::Constraints);
  for (std::size_t i = 0; i < relations.size(); ++i) {
    VakConstraintI* constraint = VakConstraintI::Make(_env, relations[i], name);
    try {
      addition.add(constraint);
    } catch (...) {
      delete constraint;
      throw;
    }
    if (!made.empty()) made[i] = VakConstraint(constraint);
  }
  addition.report();
}

// ---- Columns ------------------------------------------------------------------------------------

/// Variables that are made with their coefficients in objects that are there.
class VakModelI::ColumnMaker {
 public:
  explicit ColumnMaker(VakModelI* model)
      : _model(model),
        _addition(model, Addition::Variables),
        _collects(VakHasListeners(model->_env)) {}

  VakModelVarI* make(VakVarKind kind, VakNum lb, VakNum ub) {
    VakModelVarI::CheckBounds(nullptr, kind, lb, ub);
    VakModelVarI* variable = VakModelVarI::Make(_model->_env, kind, lb, ub);
    try {
      _addition.add(variable);
    } catch (...) {
      delete variable;
      throw;
    }
    return variable;
  }

  void addObjective(VakModelVarI* variable, VakNum coef) {
    if (coef != 0) append(_addition.needObjective(), variable, coef);
  }

  void addCoef(VakConstraint row, VakModelVarI* variable, VakNum coef) {
    VakConstraintI* constraint = row.getImpl();
    if (constraint == nullptr) throw VakEmptyHandleException("VakConstraint: Using empty handle");
    if (constraint->_model != _model) [[unlikely]]
      _model->throwAbsent(constraint);
    append(constraint, variable, coef);
  }

  void report() { _addition.report(_coefs); }

 private:
  // `variable` is the newest, so if it occurs, it is the last.
  void append(VakLinearI* linear, VakModelVarI* variable, VakNum coef) {
    VakCheckCoef(variable, linear, coef);
    VakTermListI& terms = linear->_terms;
    if (!terms.empty() && terms.last()->var == variable) [[unlikely]] {
      addUp(linear, coef);
      return;
    }
    if (coef == 0) return;
    terms.append(_model->_env->newTerm(variable, coef));
    if (_collects) _coefs.push_back({linear, variable, coef});
  }

  // A member that is listed a second time for the column.
  void addUp(VakLinearI* linear, VakNum coef) {
    VakNumLinExprTermI* term = linear->_terms.last();
    term->coef += coef;
    VakCheckCoef(term->var, linear, term->coef);
    for (std::size_t i = _coefs.size(); i-- > 0 && _coefs[i].var == term->var;) {
      if (_coefs[i].linear == linear) _coefs[i].coef = term->coef;
    }
    if (term->coef == 0) linear->_terms.dropZeros(_model->_env);
  }

  VakModelI* _model;
  Addition _addition;
  bool _collects;                // Whether anybody listens who would need _coefs.
  std::vector<VakCoefI> _coefs;  // What the new variables got.
};

VakModelVarI* VakModelI::addColumn(VakVarKind kind, VakNum lb, VakNum ub, VakNum objective,
                                   std::span<const VakConstraint> rows,
                                   std::span<const VakNum> coefs) {
  VakCheckSizes("VakModel::addColumn", rows.size(), coefs.size());
  ColumnMaker maker(this);
  VakModelVarI* variable = maker.make(kind, lb, ub);
  maker.addObjective(variable, objective);
  for (std::size_t i = 0; i < rows.size(); ++i) maker.addCoef(rows[i], variable, coefs[i]);
  maker.report();
  return variable;
}

namespace {

// An array that may be left out must be empty or have an element for everything that is made.
void checkOptional(const char* operation, std::size_t count, std::size_t given) {
  if (given != 0) VakCheckSizes(operation, count, given);
}

// Makes sure that the entries of all rows or columns can be read, and that their members are
// indices below `members`.
void checkSparse(const char* operation, const VakSparse& matrix, std::size_t count,
                 std::size_t members) {
  VakCheckSizes(operation, matrix.members.size(), matrix.coefs.size());
  if (matrix.starts.empty() && matrix.members.empty()) return;
  VakCheckSizes(operation, count + 1, matrix.starts.size());
  const auto size = static_cast<VakInt>(matrix.members.size());
  for (std::size_t i = 0; i <= count; ++i) {
    const VakInt start = matrix.starts[i];
    if (start < (i == 0 ? 0 : matrix.starts[i - 1]) || start > size) {
      VakThrowModelError(
          nullptr,
          "%s: start %zu is %ld. Starts must not fall and lie from 0 to the number of "
          "entries, which is %ld.",
          operation, i, start, size);
    }
  }
  for (std::size_t i = 0; i < matrix.members.size(); ++i) {
    const int member = matrix.members[i];
    if (member < 0 || static_cast<std::size_t>(member) >= members) {
      VakThrowModelError(nullptr, "%s: entry %zu has the index %d. Indices lie from 0 below %zu.",
                         operation, i, member, members);
    }
  }
}

template <class T>
T valueOr(std::span<const T> values, std::size_t i, T usual) {
  return values.empty() ? usual : values[i];
}

}  // namespace

void VakModelI::addColumns(const VakColumns& columns, std::span<VakNumVar> made) {
  const char* const operation = "VakModel::addColumns";
  const std::size_t count = columns.count;
  checkOptional(operation, count, columns.lbs.size());
  checkOptional(operation, count, columns.ubs.size());
  checkOptional(operation, count, columns.kinds.size());
  checkOptional(operation, count, columns.objective.size());
  checkOptional(operation, count, made.size());
  checkSparse(operation, columns.matrix, count, columns.rows.size());
  const VakSparse& matrix = columns.matrix;
  ColumnMaker maker(this);
  for (std::size_t j = 0; j < count; ++j) {
    const VakVarKind kind = valueOr(columns.kinds, j, VakVarKind::Continuous);
    const VakNum usualUB = kind == VakVarKind::Boolean ? 1 : VakGetInfinity();
    VakModelVarI* variable =
        maker.make(kind, valueOr(columns.lbs, j, 0.0), valueOr(columns.ubs, j, usualUB));
    maker.addObjective(variable, valueOr(columns.objective, j, 0.0));
    if (!matrix.starts.empty()) {
      for (auto i = static_cast<std::size_t>(matrix.starts[j]);
           i < static_cast<std::size_t>(matrix.starts[j + 1]); ++i) {
        maker.addCoef(columns.rows[static_cast<std::size_t>(matrix.members[i])], variable,
                      matrix.coefs[i]);
      }
    }
    if (!made.empty()) made[j] = VakNumVar(variable);
  }
  maker.report();
}

// ---- Rows ---------------------------------------------------------------------------------------

void VakModelI::addRows(const VakRows& rows, std::span<VakConstraint> made) {
  const char* const operation = "VakModel::addRows";
  const std::size_t count = rows.count;
  checkOptional(operation, count, rows.lbs.size());
  checkOptional(operation, count, rows.ubs.size());
  checkOptional(operation, count, made.size());
  checkSparse(operation, rows.matrix, count, rows.columns.size());
  const VakSparse& matrix = rows.matrix;
  Addition addition(this, Addition::Constraints);
  VakExpr expr;
  VakExpr storage;
  for (std::size_t i = 0; i < count; ++i) {
    expr.clear();
    if (!matrix.starts.empty()) {
      for (auto k = static_cast<std::size_t>(matrix.starts[i]);
           k < static_cast<std::size_t>(matrix.starts[i + 1]); ++k) {
        expr.addTerm(rows.columns[static_cast<std::size_t>(matrix.members[k])], matrix.coefs[k]);
      }
    }
    VakConstraintI* constraint = VakConstraintI::Make(_env, valueOr(rows.lbs, i, -VakGetInfinity()),
                                                      VakCheckTerms(_env, nullptr, expr, storage),
                                                      valueOr(rows.ubs, i, VakGetInfinity()));
    try {
      addition.add(constraint);
    } catch (...) {
      delete constraint;
      throw;
    }
    if (!made.empty()) made[i] = VakConstraint(constraint);
  }
  addition.report();
}
