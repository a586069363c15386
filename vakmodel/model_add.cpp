// What joins a model, one by one and in bulk.

#include <algorithm>
#include <cstddef>
#include <functional>
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

/// So many entries before a row is needed it is fetched; about as long as memory takes.
constexpr std::size_t LookAhead = 24;
/// Up to so many entries of a column each is compared with every other; more are sorted.
constexpr std::size_t MostCompared = 16;

/// Variables that are made with their coefficients in objects that are there. For each column:
/// make(), what it gets, finish(); or make() and what is put.
class VakModelI::ColumnMaker {
 public:
  explicit ColumnMaker(VakModelI* model)
      : _model(model),
        _addition(model, Addition::Variables),
        _collects(VakHasListeners(model->_env)),
        _memory(_buffer, sizeof(_buffer)),
        _column(&_memory) {}

  VakModelVarI* make(VakVarKind kind, VakNum lb, VakNum ub) {
    VakModelVarI::CheckBounds(nullptr, kind, lb, ub);
    _variable = VakModelVarI::Make(_model->_env, kind, lb, ub);
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
    Prefetch(constraint);
    add(constraint, coef);
  }

  /// Has a row fetched into the caches that will be needed soon; `row` may be empty.
  /// Always inline: GCC takes a function that only prefetches for one without effect and drops
  /// calls.
  [[gnu::always_inline]] static inline void Prefetch(const VakConstraintI* row) {
    if (row != nullptr) __builtin_prefetch(&row->_terms, 1);
  }

  /// Gives the column a coefficient at once in `linear`, which is of the model and has none of it
  /// yet.
  void put(VakLinearI* linear, VakNum coef) {
    VakCheckCoef(_variable, linear, coef);
    link(linear, coef);
  }
  void putObjective(VakNum coef) {
    if (coef != 0) put(_addition.needObjective(), coef);
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

template <class T>
T valueOr(std::span<const T> values, std::size_t i, T usual) {
  return values.empty() ? usual : values[i];
}

}  // namespace

/// The entries of columns that are made in one go, whose matrix was checked.
class VakModelI::ColumnEntries {
 public:
  ColumnEntries(const VakModelI* model, const VakColumns& columns)
      : _columns(columns), _rowsDiffer(doRowsDiffer(model)) {}

  [[nodiscard]] std::size_t begin(std::size_t column) const { return startOf(column); }
  [[nodiscard]] std::size_t end(std::size_t column) const { return startOf(column + 1); }
  [[nodiscard]] VakConstraint handle(std::size_t entry) const {
    return _columns.rows[static_cast<std::size_t>(_columns.matrix.members[entry])];
  }
  [[nodiscard]] VakConstraintI* row(std::size_t entry) const { return ImplOf(handle(entry)); }
  [[nodiscard]] VakNum coef(std::size_t entry) const { return _columns.matrix.coefs[entry]; }

  /// Has a row fetched into the caches that will be needed some entries later, and the handle of
  /// one that will be fetched then.
  [[gnu::always_inline]] inline void fetchAfter(std::size_t entry) const {
    const std::size_t last = _columns.matrix.members.size() - 1;
    const int* members = _columns.matrix.members.data();
    __builtin_prefetch(
        &_columns.rows[static_cast<std::size_t>(members[std::min(entry + 2 * LookAhead, last)])]);
    ColumnMaker::Prefetch(row(std::min(entry + LookAhead, last)));
  }

  /// True when these entries are known to be of different rows, all of them in the model.
  [[nodiscard]] bool differ(std::size_t first, std::size_t end) const {
    if (!_rowsDiffer || end - first > MostCompared) return false;
    const int* members = _columns.matrix.members.data();
    bool differ = true;
    for (std::size_t i = first; i < end; ++i) {
      for (std::size_t k = first; k < i; ++k) differ = differ && members[k] != members[i];
    }
    return differ;
  }

 private:
  static VakConstraintI* ImplOf(const VakExtractable& row) {
    return static_cast<VakConstraintI*>(row.getImpl());
  }

  [[nodiscard]] std::size_t startOf(std::size_t column) const {
    return _columns.matrix.starts.empty()
               ? 0
               : static_cast<std::size_t>(_columns.matrix.starts[column]);
  }

  // Whether all rows are in the model, and none is listed twice. Their places tell them apart.
  [[nodiscard]] bool doRowsDiffer(const VakModelI* model) const {
    std::vector<bool> isListed(static_cast<std::size_t>(model->_constraints.size()));
    for (const VakConstraint& handle : _columns.rows) {
      const VakConstraintI* row = ImplOf(handle);
      if (row == nullptr || row->_model != model) return false;
      const auto place = static_cast<std::size_t>(row->_place);
      if (isListed[place]) return false;
      isListed[place] = true;
    }
    return true;
  }

  const VakColumns& _columns;
  bool _rowsDiffer;  // Whether different members are different rows of the model.
};

void VakModelI::addColumns(const VakColumns& columns, std::span<VakNumVar> made) {
  const char* const operation = "VakModel::addColumns";
  const std::size_t count = columns.count;
  checkOptional(operation, count, columns.lbs.size());
  checkOptional(operation, count, columns.ubs.size());
  checkOptional(operation, count, columns.kinds.size());
  checkOptional(operation, count, columns.objective.size());
  checkOptional(operation, count, made.size());
  checkSparse(operation, columns.matrix, count, columns.rows.size());
  ColumnMaker maker(this);
  const ColumnEntries entries(this, columns);
  for (std::size_t j = 0; j < count; ++j) {
    const VakVarKind kind = valueOr(columns.kinds, j, VakVarKind::Continuous);
    const VakNum usualUB = kind == VakVarKind::Boolean ? 1 : VakGetInfinity();
    VakModelVarI* variable =
        maker.make(kind, valueOr(columns.lbs, j, 0.0), valueOr(columns.ubs, j, usualUB));
    const VakNum objective = valueOr(columns.objective, j, 0.0);
    const std::size_t first = entries.begin(j);
    const std::size_t end = entries.end(j);
    if (entries.differ(first, end)) {
      maker.putObjective(objective);
      for (std::size_t i = first; i < end; ++i) {
        entries.fetchAfter(i);
        maker.put(entries.row(i), entries.coef(i));
      }
    } else {
      maker.addObjective(objective);
      for (std::size_t i = first; i < end; ++i) maker.addCoef(entries.handle(i), entries.coef(i));
      maker.finish();
    }
    if (!made.empty()) made[j] = VakNumVar(variable);
  }
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
