#pragma once

// Models: which variables, constraints and objective belong together.
//
//   VakModel model(env, "plan");
//   VakNumVar x(env, 0, 40, "x"), y(env, "y");
//   VakConstraint c = model.add(x + 2 * y <= 14, "capacity");
//   model.maximize(3 * x + 4 * y);
//
// Glossary
//   in the model   a variable from the moment it was added, or stood in a constraint or objective
//                  that was added, until it is removed from the model or ended; a constraint or an
//                  objective from add to remove

#include <cstddef>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

#include "vakmodel/constraint.h"
#include "vakmodel/objective.h"
#include "vakmodel/variable_array.h"

/// The coefficients of many rows or columns as plain arrays, not owned.
///
/// Row (or column) number i has its entries at starts[i] up to starts[i + 1]: `members` says for
/// each entry, by its index in a list given beside this, which variable (or constraint) it is for,
/// and `coefs` its coefficient. What occurs twice in a row (or column) is added up.
///
/// Threads: confined; each thread may have its own.
/// Phases: any to hold; open to use, while the objects and memory that it names live.
struct VakSparse {
  std::span<const VakInt> starts;  ///< One more than there are rows or columns; never falling.
  std::span<const int> members;    ///< Indices.
  std::span<const VakNum> coefs;   ///< As many as `members`.
};

/// Columns to be made in one go; see VakModel::addColumns. Of an empty span every column gets the
/// usual value.
///
/// Threads: confined; each thread may have its own.
/// Phases: any to hold; open to use, while the objects and memory that it names live.
struct VakColumns {
  std::size_t count = 0;                ///< How many.
  std::span<const VakNum> lbs;          ///< `count` lower bounds; usually 0.
  std::span<const VakNum> ubs;          ///< `count` upper bounds; usually infinite.
  std::span<const VakVarKind> kinds;    ///< `count` kinds; usually continuous.
  std::span<const VakNum> objective;    ///< `count` objective coefficients; usually 0.
  std::span<const VakConstraint> rows;  ///< The constraints that `matrix` has indices of.
  VakSparse matrix;                     ///< Coefficients by column; usually none.
};

/// Rows to be made in one go; see VakModel::addRows.
///
/// Threads: confined; each thread may have its own.
/// Phases: any to hold; open to use, while the objects and memory that it names live.
struct VakRows {
  std::size_t count = 0;               ///< How many.
  std::span<const VakNum> lbs;         ///< `count` lower bounds; usually minus infinity.
  std::span<const VakNum> ubs;         ///< `count` upper bounds; usually infinite.
  std::span<const VakNumVar> columns;  ///< The variables that `matrix` has indices of.
  VakSparse matrix;                    ///< Coefficients by row; usually none.
};

/// Handle of a model; see VakExtractable.
///
/// A model owns nothing. Constraints and objectives are in one model at most, and go when it ends;
/// variables may be in many, and stay. Wrong use throws VakModelError or VakModelMismatch and
/// changes nothing. Each change is reported once, a bulk change as one; when an algorithm refuses
/// it or anything else throws, the model gets its old state back, whoever had accepted is told of
/// that, and the exception passes on.
///
/// Memory: a variable takes 48 bytes, 16 more for bounds of its own, and 12 in each model; a
/// constraint 88 and 8; a term 24; each object 8 more for its identifier.
///
/// Threads: read-shared; adding, removing and changing are for one thread at a time. In thread-safe
///     mode several threads may change models of their own while nobody listens; ending one stays
///     for one thread.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() ends the model with its constraints and its objective; remove() takes back
///     add().
class VakModel : public VakExtractable {
 public:
  template <class Handle>
  class Members;

  VakModel() = default;
  explicit VakModel(VakModelI* impl);
  /// A new, empty model. Throws VakEmptyHandleException ("VakEnv: Using empty handle") for an empty
  /// environment.
  explicit VakModel(VakEnv env, const char* name = nullptr);
  /// The same with a name of a known length.
  VakModel(VakEnv env, std::string_view name);

  /// The object as a model; an empty handle when it is something else.
  [[nodiscard]] static VakModel From(VakExtractable object);
  [[nodiscard]] VakModelI* getImpl() const;
  /// The same; throws "VakModel: Using empty handle" when there is none.
  [[nodiscard]] VakModelI* checked() const;

  // ---- Adding -----------------------------------------------------------------------------------

  /// Makes a constraint of the relation and adds it, with all its variables. If anything throws,
  /// the constraint is gone again.
  VakConstraint add(const VakRelation& relation, const char* name = nullptr) const;
  VakConstraint add(const VakRelation& relation, std::string_view name) const;
  /// Adds a constraint, which must be in no model, with all its variables.
  void add(VakConstraint constraint) const;
  /// Adds a variable; nothing when it is in the model already.
  void add(VakNumVar x) const;
  /// Adds an objective, which must be in no model, with all its variables. The model must have
  /// none.
  void add(VakObjective objective) const;
  /// Makes the objective, or changes its terms, constant and sense when there is one.
  VakObjective minimize(const VakExpr& expr) const;
  VakObjective maximize(const VakExpr& expr) const;

  /// Adds several at once.
  void add(std::span<const VakConstraint> constraints) const;
  void add(std::span<const VakNumVar> vars) const;
  void add(VakNumVarArray vars) const;
  /// Makes a constraint of each relation and adds them; `made`, if not empty, gets the handles and
  /// must be as long.
  void add(std::span<const VakRelation> relations, std::span<VakConstraint> made = {}) const;

  /// Makes a variable with coefficients in constraints of this model and adds it.
  VakNumVar addColumn(VakNum lb, VakNum ub, VakNum objective, std::span<const VakConstraint> rows,
                      std::span<const VakNum> coefs,
                      VakVarKind kind = VakVarKind::Continuous) const;
  /// Makes variables with coefficients in the objective (made when there is none and it is needed)
  /// and in constraints of this model, and adds them. `made`, if not empty, gets the handles and
  /// must be as long; they mean nothing when an exception is thrown. The time is linear in what is
  /// given.
  void addColumns(const VakColumns& columns, std::span<VakNumVar> made = {}) const;
  /// Makes constraints and adds them with all variables that have coefficients in them.
  void addRows(const VakRows& rows, std::span<VakConstraint> made = {}) const;

  // ---- Removing; what is removed lives on -------------------------------------------------------

  /// Takes a variable out of the model with its terms in the model's constraints and objective.
  /// Costs a walk over all terms. It must be in the model.
  void remove(VakNumVar x) const;
  /// Takes a constraint out; it must be in the model. Amortised constant time.
  void remove(VakConstraint constraint) const;
  void remove(VakObjective objective) const;
  /// Take several out at once; one that stands there twice throws VakModelError.
  void remove(std::span<const VakNumVar> vars) const;
  void remove(std::span<const VakConstraint> constraints) const;

  // ---- Looking ----------------------------------------------------------------------------------

  /// Numbers of variables and of constraints in the model.
  [[nodiscard]] VakInt getVariableCount() const;
  [[nodiscard]] VakInt getConstraintCount() const;
  /// The number of terms in all constraints. Costs a walk over the constraints.
  [[nodiscard]] VakInt getTermCount() const;
  /// In the order in which they joined the model. The loop may change bounds and coefficients;
  /// adding or removing ends it for good.
  [[nodiscard]] Members<VakNumVar> variables() const;
  [[nodiscard]] Members<VakConstraint> constraints() const;
  /// The objective, or an empty handle.
  [[nodiscard]] VakObjective getObjective() const;
  /// True for an object that is in the model.
  [[nodiscard]] bool contains(VakNumVar x) const;
  [[nodiscard]] bool contains(VakConstraint constraint) const;
  /// The first one of this name, or an empty handle. Costs a walk over all names.
  [[nodiscard]] VakNumVar findVariable(const char* name) const;
  [[nodiscard]] VakConstraint findConstraint(const char* name) const;
  [[nodiscard]] VakNumVar findVariable(std::string_view name) const;
  [[nodiscard]] VakConstraint findConstraint(std::string_view name) const;

  /// Returns an empty text if the model's invariants hold, else what is broken. Linear time.
  [[nodiscard]] std::string check() const;
};

/// Walks over the places of a model's list, past the empty ones.
///
/// Threads: read-shared, as the object that is walked.
/// Phases: open, until that object is changed or ends.
class VakPlaceWalk {
 public:
  VakPlaceWalk() = default;
  /// Stands at the first member from `place` on, or behind the last one.
  VakPlaceWalk(const VakPlacesI* places, VakInt place);
  /// The present member; there must be one.
  [[nodiscard]] VakExtractable get() const;
  void next();
  [[nodiscard]] VakInt getPlace() const { return _place; }

 private:
  const VakPlacesI* _places = nullptr;  ///< The model's list, not owned.
  VakInt _place = 0;                    ///< The present place, or the number of places.
};

/// The variables or constraints of a model as a range of handles.
template <class Handle>
class VakModel::Members {
 public:
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Handle;
    using difference_type = std::ptrdiff_t;
    using pointer = const Handle*;
    using reference = Handle;

    Iterator() = default;
    /// Where the walk stands.
    explicit Iterator(VakPlaceWalk walk) : _walk(walk) {}
    Handle operator*() const { return Handle::From(_walk.get()); }
    Iterator& operator++() {
      _walk.next();
      return *this;
    }
    Iterator operator++(int) {
      const Iterator before = *this;
      _walk.next();
      return before;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) {
      return a._walk.getPlace() == b._walk.getPlace();
    }

   private:
    VakPlaceWalk _walk;
  };

  /// The objects at these places, which are not owned.
  Members(const VakPlacesI* places, VakInt size) : _places(places), _size(size) {}
  [[nodiscard]] Iterator begin() const { return Iterator(VakPlaceWalk(_places, 0)); }
  [[nodiscard]] Iterator end() const { return Iterator(VakPlaceWalk(_places, _size)); }

 private:
  const VakPlacesI* _places;  ///< The model's list, not owned.
  VakInt _size;               ///< Number of places.
};

/// Writes the whole model: the objective, the constraints, the variables with bounds and kinds; an
/// empty handle as (empty). vakmodel/dump.h writes models in other forms.
std::ostream& operator<<(std::ostream& out, VakModel model);
