// What joins a model, one by one and in bulk.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory_resource>
#include <vector>

#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"

/// What joins a model in one change, until it is reported. If that fails, or something before it,
/// all leaves the model again, and what was made for the change is deleted.
class VakModelI::Addition final : private VakUnsettledI {
 public:
  /// Which members were made for the change.
  enum Made : unsigned { Nothing = 0, Variables = 1, Constraints = 2 };

  Addition(VakModelI* model, Made made)
      : _membership((VakCheckUsable(model, model->_env, nullptr), model)),
        _model(model),
        _made(made) {
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
    _reported = members;
    try {
      VakReport(_model->_env, _model, VakAddChange(_model, members, coefs));
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

  [[nodiscard]] bool holds(const VakExtractableI* e) const noexcept override {
    const auto isListed = [e](const auto& objects) {
      return std::any_of(objects.begin(), objects.end(),
                         [e](const VakExtractableI* object) { return object == e; });
    };
    return e == _model || e == _objective || isListed(_reported.variables) ||
           isListed(_reported.constraints);
  }

  void leave() {
    if ((_made & Variables) != 0) {
      _model->forEachLinear([this](VakLinearI* linear) { cutTerms(linear->_terms); });
    }
    if (_objective != nullptr) _model->setObjective(nullptr);
    _model->unlinkFrom(_constraintsFrom);
    _model->unjoin(_variablesFrom);
  }

  // The terms of new variables come first, because they joined last.
  void cutTerms(VakTermListI& terms) {
    while (!terms.empty() && isNew(terms.first()->var)) {
      _model->_env->recycleTerm(terms.takeFirst());
    }
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

  VakMembershipI _membership;
  VakModelI* _model;
  Made _made;
  VakInt _variablesFrom = 0;
  VakInt _constraintsFrom = 0;
  VakMembersView _reported;  // What joined, once it is reported.
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
  }
  /// Gives the rows their terms.
  void handOver() noexcept {
    for (std::size_t i = 0; i < _fronts.size(); ++i) {
      const Front& front = _fronts[i];
      if (front.added != 0) row(i)->_terms.prependAll(front.first, front.added, _highest);
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

std::size_t startOf(const VakSparse& matrix, std::size_t i) {
  return matrix.starts.empty() ? 0 : static_cast<std::size_t>(matrix.starts[i]);
}

template <class T>
T valueOr(std::span<const T> values, std::size_t i, T usual) {
  return values.empty() ? usual : values[i];
}

}  // namespace

void VakModelI::addColumns(const VakColumns& columns, std::span<VakNumVar> made) {
  const char* const operation = "VakModel::addColumns";
  const std::size_t count = columns.count;
  const VakSparse& matrix = columns.matrix;
  checkOptional(operation, count, columns.lbs.size());
  checkOptional(operation, count, columns.ubs.size());
  checkOptional(operation, count, columns.kinds.size());
  checkOptional(operation, count, columns.objective.size());
  checkOptional(operation, count, made.size());
  checkSparse(operation, matrix, count, columns.rows.size());
  ColumnMaker maker(this);
  RowFronts rows(this, columns);
  for (std::size_t j = 0; j < count; ++j) {
    const VakVarKind kind = valueOr(columns.kinds, j, VakVarKind::Continuous);
    const VakNum usualUB = kind == VakVarKind::Boolean ? 1 : VakGetInfinity();
    VakModelVarI* variable =
        maker.make(kind, valueOr(columns.lbs, j, 0.0), valueOr(columns.ubs, j, usualUB));
    const VakNum objective = valueOr(columns.objective, j, 0.0);
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
  checkOptional(operation, rows.count, rows.lbs.size());
  checkOptional(operation, rows.count, rows.ubs.size());
  checkOptional(operation, rows.count, made.size());
  checkSparse(operation, rows.matrix, rows.count, rows.columns.size());
  Addition addition(this, Addition::Constraints);
  bool haveJoined = true;
  for (const VakNumVar x : rows.columns) {
    VakCheckUsable(x.checked(), _env, this);
    haveJoined = haveJoined && contains(x.getImpl());
  }
  RowTerms rowTerms(_env, rows);
  for (std::size_t i = 0; i < rows.count; ++i) {
    const VakNum lb = valueOr(rows.lbs, i, -VakGetInfinity());
    const VakNum ub = valueOr(rows.ubs, i, VakGetInfinity());
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
