// Columns join a model: new variables with their coefficients in objects that are there.
//
// VakModelI::addColumn and addColumns make them with a ColumnMaker, which holds the change that the
// variables join in. Where many columns have terms in the same rows, addColumns links these in
// RowFronts.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory_resource>
#include <span>
#include <vector>

#include "vakbase/globals.h"
#include "vakmodel/bulk_arrays.h"
#include "vakmodel/model_addition.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"

/// Up to so many entries of a column each is compared with every other; more are sorted.
constexpr std::size_t MostCompared = 16;

/// The rows that columns made in one go have coefficients in, whose matrix was checked.
///
/// Rows lie far apart, and every column has terms in others. So the front of the terms of each row
/// is kept here by the index of the row, side by side, until the rows get them, one after the
/// other: at the end, also one with an exception.
class VakModelI::RowFronts {
 public:
  /// Not in use if the rows are not different ones of the model, or many more than the entries, or
  /// if there is a deleter, which is told of every variable and might look at the rows then.
  RowFronts(const VakModelI* model, const VakColumns& columns)
      : _rows(columns.rows), _members(columns.matrix.members) {
    if (model->_env->_deleter != nullptr || _members.size() < _rows.size() / 4) return;
    if (!areDifferentRowsOf(model)) return;
    _fronts.resize(_rows.size());
    for (std::size_t i = 0; i < _rows.size(); ++i) _fronts[i].first = row(i)->_terms.first();
  }
  ~RowFronts() { handOver(); }
  RowFronts(const RowFronts&) = delete;
  RowFronts& operator=(const RowFronts&) = delete;

  [[nodiscard]] bool areInUse() const { return !_fronts.empty(); }
  [[nodiscard]] VakConstraintI* row(std::size_t i) const {
    return static_cast<VakConstraintI*>(_rows[i].getImpl());
  }

  /// Begins a column of these entries and tells whether two of them are in the same row.
  [[nodiscard]] bool beginColumn(std::size_t first, std::size_t end) {
    ++_column;
    bool isRepeated = false;
    for (std::size_t i = first; i < end; ++i) {
      __builtin_prefetch(&front(std::min(i + LookAhead, _members.size() - 1)), 1);
      isRepeated = isRepeated || front(i).column == _column;
      front(i).column = _column;
    }
    return isRepeated;
  }
  /// Links a term in front of those of row `i`.
  void link(std::size_t i, VakNumLinExprTermI* term) {
    Front& front = _fronts[i];
    term->next = front.first;
    front.first = term;
    ++front.added;
    if (std::less<>()(_highest, term->var)) _highest = term->var;
    _ascends = _ascends && term->var == _highest;
  }
  /// Gives the rows their terms. As long as every variable lies above those before it, which is
  /// usual, the first term of a row has its highest.
  void handOver() noexcept {
    for (std::size_t i = 0; i < _fronts.size(); ++i) {
      const Front& front = _fronts[i];
      if (front.added == 0) continue;
      const VakNumVarI* highest = _ascends ? front.first->var : _highest;
      row(i)->_terms.prependAll(front.first, front.added, highest);
    }
    _fronts.clear();
  }

 private:
  static constexpr std::size_t LookAhead = 16;  ///< Entries; about as long as memory takes.

  struct Front {
    VakNumLinExprTermI* first = nullptr;  ///< First term of the row.
    std::int32_t added = 0;               ///< Terms in front of those that the row has got.
    std::int32_t column = 0;              ///< The last column with an entry in the row.
  };

  [[nodiscard]] Front& front(std::size_t entry) {
    return _fronts[static_cast<std::size_t>(_members[entry])];
  }

  // Their places tell them apart.
  [[nodiscard]] bool areDifferentRowsOf(const VakModelI* model) const {
    std::vector<bool> isListed(static_cast<std::size_t>(model->_constraints.size()));
    for (std::size_t i = 0; i < _rows.size(); ++i) {
      if (row(i) == nullptr || row(i)->_model != model) return false;
      const auto place = static_cast<std::size_t>(row(i)->_place);
      if (isListed[place]) return false;
      isListed[place] = true;
    }
    return true;
  }

  std::span<const VakConstraint> _rows;
  std::span<const int> _members;
  std::vector<Front> _fronts;
  std::int32_t _column = 0;              // Columns that were begun.
  const VakNumVarI* _highest = nullptr;  // No variable of a new term lies above it.
  bool _ascends = true;                  // Each variable of a new term is the highest by then.
};

/// Variables that are made with their coefficients in objects that are there. For each column:
/// make(), what it gets, finish(); or make(), putObjective(), put().
class VakModelI::ColumnMaker {
 public:
  explicit ColumnMaker(VakModelI* model)
      : _model(model),
        _addition(model, Addition::Variables),
        _collects(VakHasListeners(model->_env)),
        _memory(_buffer, sizeof(_buffer)),
        _column(&_memory) {}

  VakModelVarI* make(VakVarKind kind, VakNum lb, VakNum ub) {
    _variable = VakModelVarI::MakeAfter(_last, _model->_env, kind, lb, ub);
    try {
      _addition.add(_variable);
    } catch (...) {
      delete _variable;
      throw;
    }
    return _variable;
  }

  void addObjective(VakNum coef) {
    if (coef != 0) add(_addition.needObjective(), coef);
  }

  void reserve(std::size_t coefs) { _column.reserve(coefs); }

  void addCoef(VakConstraint row, VakNum coef) {
    VakConstraintI* constraint = row.checked();
    __builtin_prefetch(&constraint->_terms, 1);
    add(constraint, coef);
  }

  // The rows were looked at one after the other, so that waiting for them overlaps.
  void finish() {
    for (const auto& [linear, coef] : _column) {
      if (linear->_model != _model) [[unlikely]]
        _model->throwAbsent(linear);
      VakCheckCoef(_variable, linear, coef);
    }
    if (hasRepeated()) addUpRepeated();
    for (const auto& [linear, coef] : _column) link(linear, coef);
    _column.clear();
  }

  /// Gives the column a coefficient in the objective at once, where it has none yet.
  void putObjective(VakNum coef) {
    if (coef == 0) return;
    VakObjectiveI* objective = _addition.needObjective();
    VakCheckCoef(_variable, objective, coef);
    link(objective, coef);
  }
  /// Gives the column its entries from `first` to `end` in the rows at once, where it has none yet.
  void put(RowFronts& rows, const VakSparse& matrix, std::size_t first, std::size_t end) {
    if (rows.beginColumn(first, end)) [[unlikely]] {
      putRepeated(rows, matrix, first, end);
      return;
    }
    for (std::size_t i = first; i < end; ++i) {
      put(rows, static_cast<std::size_t>(matrix.members[i]), matrix.coefs[i]);
    }
  }

  void report() { _addition.report(_coefs); }

 private:
  struct Coef {
    VakLinearI* linear;
    VakNum coef;
  };

  void add(VakLinearI* linear, VakNum coef) { _column.push_back({linear, coef}); }

  void link(VakLinearI* linear, VakNum coef) {
    if (coef == 0) return;
    linear->_terms.prepend(_model->_env->newTerm(_variable, coef));
    if (_collects) _coefs.push_back({linear, _variable, coef});
  }

  void put(RowFronts& rows, std::size_t row, VakNum coef) {
    if (!std::isfinite(coef)) [[unlikely]]
      VakCheckCoef(_variable, rows.row(row), coef);
    if (coef == 0) return;
    rows.link(row, _model->_env->newTerm(_variable, coef));
    if (_collects) _coefs.push_back({rows.row(row), _variable, coef});
  }

  [[gnu::cold]] void putRepeated(RowFronts& rows, const VakSparse& matrix, std::size_t first,
                                 std::size_t end) {
    std::map<int, VakNum> sums;
    for (std::size_t i = first; i < end; ++i) {
      const int member = matrix.members[i];
      VakCheckCoef(_variable, rows.row(static_cast<std::size_t>(member)), matrix.coefs[i]);
      sums[member] += matrix.coefs[i];
    }
    for (const auto& [member, sum] : sums) put(rows, static_cast<std::size_t>(member), sum);
  }

  [[nodiscard]] bool hasRepeated() {
    if (_column.size() > MostCompared) {
      std::stable_sort(_column.begin(), _column.end(), IsBefore);
      return std::adjacent_find(_column.begin(), _column.end(), IsSame) != _column.end();
    }
    for (auto coef = _column.begin(); coef != _column.end(); ++coef) {
      for (auto other = _column.begin(); other != coef; ++other) {
        if (IsSame(*coef, *other)) return true;
      }
    }
    return false;
  }

  void addUpRepeated() {
    std::stable_sort(_column.begin(), _column.end(), IsBefore);
    std::size_t kept = 0;
    for (const Coef coef : _column) {
      if (kept != 0 && IsSame(_column[kept - 1], coef)) {
        _column[kept - 1].coef += coef.coef;
        VakCheckCoef(_variable, coef.linear, _column[kept - 1].coef);
      } else {
        _column[kept++] = coef;
      }
    }
    _column.resize(kept);
  }

  static bool IsSame(const Coef& a, const Coef& b) { return a.linear == b.linear; }
  static bool IsBefore(const Coef& a, const Coef& b) { return std::less<>()(a.linear, b.linear); }

  VakModelI* _model;
  Addition _addition;
  bool _collects;                               // Whether anybody listens who would need _coefs.
  VakModelVarI* _variable = nullptr;            // The column that is being made.
  VakModelVarI::Last _last;                     // Its kind and bounds.
  alignas(16) std::byte _buffer[512];           // A short column needs no memory of the heap.
  std::pmr::monotonic_buffer_resource _memory;  // Of the next one.
  std::pmr::vector<Coef> _column;               // What the column gets.
  std::vector<VakCoefI> _coefs;                 // What all columns got.
};

VakModelVarI* VakModelI::addColumn(VakVarKind kind, VakNum lb, VakNum ub, VakNum objective,
                                   std::span<const VakConstraint> rows,
                                   std::span<const VakNum> coefs) {
  VakCheckSizes("VakModel::addColumn", rows.size(), coefs.size());
  ColumnMaker maker(this);
  VakModelVarI* variable = maker.make(kind, lb, ub);
  maker.reserve(rows.size() + 1);
  maker.addObjective(objective);
  for (std::size_t i = 0; i < rows.size(); ++i) maker.addCoef(rows[i], coefs[i]);
  maker.finish();
  maker.report();
  return variable;
}

namespace {

std::size_t startOf(const VakSparse& matrix, std::size_t i) {
  return matrix.starts.empty() ? 0 : static_cast<std::size_t>(matrix.starts[i]);
}

}  // namespace

void VakModelI::addColumns(const VakColumns& columns, std::span<VakNumVar> made) {
  const char* const operation = "VakModel::addColumns";
  const std::size_t count = columns.count;
  const VakSparse& matrix = columns.matrix;
  VakCheckOptional(operation, count, columns.lbs.size());
  VakCheckOptional(operation, count, columns.ubs.size());
  VakCheckOptional(operation, count, columns.kinds.size());
  VakCheckOptional(operation, count, columns.objective.size());
  VakCheckOptional(operation, count, made.size());
  VakCheckSparse(operation, matrix, count, columns.rows.size());
  ColumnMaker maker(this);
  RowFronts rows(this, columns);
  for (std::size_t j = 0; j < count; ++j) {
    const VakVarKind kind = VakValueOr(columns.kinds, j, VakVarKind::Continuous);
    const VakNum usualUB = kind == VakVarKind::Boolean ? 1 : VakGetInfinity();
    VakModelVarI* variable =
        maker.make(kind, VakValueOr(columns.lbs, j, 0.0), VakValueOr(columns.ubs, j, usualUB));
    const VakNum objective = VakValueOr(columns.objective, j, 0.0);
    const std::size_t first = startOf(matrix, j);
    const std::size_t end = startOf(matrix, j + 1);
    if (rows.areInUse()) {
      maker.putObjective(objective);
      maker.put(rows, matrix, first, end);
    } else {
      maker.addObjective(objective);
      for (std::size_t i = first; i < end; ++i) {
        maker.addCoef(columns.rows[static_cast<std::size_t>(matrix.members[i])], matrix.coefs[i]);
      }
      maker.finish();
    }
    if (!made.empty()) made[j] = VakNumVar(variable);
  }
  rows.handOver();
  maker.report();
}
