// What joins a model: objects that are there already, constraints from relations, and rows. Columns
// are in model_add_columns.cpp.

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakmodel/bulk_arrays.h"
#include "vakmodel/model_addition.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"

// ---- One by one ---------------------------------------------------------------------------------

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

// ---- Rows ---------------------------------------------------------------------------------------

namespace {

/// The terms of one row after the other, made from indices of variables that were checked.
class RowTerms {
 public:
  RowTerms(VakEnvI* env, const VakRows& rows)
      : _env(env), _rows(rows), _areDifferent(AreDifferent(rows.columns)) {}

  void make(std::size_t row, VakOwnTermsI& terms) {
    const VakSparse& matrix = _rows.matrix;
    if (matrix.starts.empty()) return;
    const auto first = static_cast<std::size_t>(matrix.starts[row]);
    const auto end = static_cast<std::size_t>(matrix.starts[row + 1]);
    bool isRising = _areDifferent;
    for (std::size_t i = first; i < end; ++i) {
      VakCheckCoef(variable(i).getImpl(), nullptr, matrix.coefs[i]);
      isRising = isRising && (i == first || matrix.members[i - 1] < matrix.members[i]);
    }
    if (!isRising) {
      makeSlowly(first, end, terms);
      return;
    }
    for (std::size_t i = end; i-- > first;) {
      if (matrix.coefs[i] != 0) terms.make(variable(i).getImpl(), matrix.coefs[i]);
    }
  }

 private:
  // True when no variable is listed twice. They are registered, so their identifiers tell them
  // apart.
  static bool AreDifferent(std::span<const VakNumVar> columns) {
    std::vector<bool> isListed;
    for (const VakNumVar x : columns) {
      const auto id = static_cast<std::size_t>(x.getImpl()->id);
      if (id >= isListed.size()) isListed.resize(std::max(id + 1, 2 * isListed.size()));
      if (isListed[id]) return false;
      isListed[id] = true;
    }
    return true;
  }

  // A variable may occur twice.
  void makeSlowly(std::size_t first, std::size_t end, VakOwnTermsI& terms) {
    _expr.clear();
    for (std::size_t i = first; i < end; ++i) {
      _expr.addTerm(variable(i), _rows.matrix.coefs[i]);
    }
    terms.makeAll(VakCheckTerms(_env, nullptr, _expr, _storage));
  }

  [[nodiscard]] VakNumVar variable(std::size_t i) const {
    return _rows.columns[static_cast<std::size_t>(_rows.matrix.members[i])];
  }

  VakEnvI* _env;
  const VakRows& _rows;
  bool _areDifferent;
  VakExpr _expr;
  VakExpr _storage;
};

}  // namespace

void VakModelI::addRows(const VakRows& rows, std::span<VakConstraint> made) {
  const char* const operation = "VakModel::addRows";
  VakCheckOptional(operation, rows.count, rows.lbs.size());
  VakCheckOptional(operation, rows.count, rows.ubs.size());
  VakCheckOptional(operation, rows.count, made.size());
  VakCheckSparse(operation, rows.matrix, rows.count, rows.columns.size());
  Addition addition(this, Addition::Constraints);
  bool haveJoined = true;
  for (const VakNumVar x : rows.columns) {
    VakCheckUsable(x.checked(), _env, this);
    haveJoined = haveJoined && contains(x.getImpl());
  }
  RowTerms rowTerms(_env, rows);
  for (std::size_t i = 0; i < rows.count; ++i) {
    const VakNum lb = VakValueOr(rows.lbs, i, -VakGetInfinity());
    const VakNum ub = VakValueOr(rows.ubs, i, VakGetInfinity());
    VakCheckBounds(nullptr, "a new constraint", lb, ub);
    VakOwnTermsI terms(_env);
    rowTerms.make(i, terms);
    auto* constraint = VakCreate<VakConstraintI>(_env, lb, ub);
    constraint->_terms.swap(terms);
    try {
      if (!haveJoined) takeIn(constraint);
      link(constraint);
    } catch (...) {
      delete constraint;
      throw;
    }
    if (!made.empty()) made[i] = VakConstraint(constraint);
  }
  addition.report();
}
