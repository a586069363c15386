#pragma once

// Linear expressions as values: what 3 * x + 2 * y - 1 gives.
//
//   VakTerm    a coefficient times a variable
//   VakExpr    a sum of terms and a constant
//
// Both are plain values: an expression is copied with its terms, belongs to nobody and changes no
// model. Its storage is the general heap's, so it may outlive the environment of its variables. A
// constraint or an objective that is made from an expression takes a copy of its terms.
//
// Operands are variables, terms, expressions, stored expressions (VakNumExpr) and numbers:
//   +  -     any two of them, at least one of which is not a number
//   *        with a number on one side;   /   by a number
//   +=  -=   any of them to an expression;   *=  /=   by a number
// An empty variable handle throws VakEmptyHandleException "VakNumVar: Using empty handle" at once.
// What else can be wrong with coefficients is tested where an expression enters a model.

#include <concepts>
#include <iosfwd>
#include <iterator>
#include <ranges>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "vakmodel/variable.h"

/// `coef` times `var`.
///
/// Threads: confined; each thread may have its own.
/// Phases: any to hold; open to use, while the objects and memory that it names live.
struct VakTerm {
  VakTerm() = default;
  /// c * v.
  VakTerm(VakNumVar v, VakNum c) : var(v), coef(c) {}

  VakNumVar var;    ///< The variable.
  VakNum coef = 0;  ///< Its coefficient.
};

/// A sum of terms and a constant. One thread at a time. When memory runs out (std::bad_alloc) the
/// expression is as it was before.
///
/// Threads: confined; each thread may have its own, over variables that others read too.
/// Phases: any to hold; open to use, while the variables in it live; gone of itself.
class VakExpr {
 public:
  /// Zero.
  VakExpr() = default;
  /// A number.
  VakExpr(VakNum constant) : _constant(constant) {}
  /// One variable.
  VakExpr(VakNumVar x);
  VakExpr(VakTerm term);
  /// The terms and the constant that the stored expression has now.
  VakExpr(VakNumExpr e);

  /// The number that is added to the terms.
  [[nodiscard]] VakNum getConstant() const { return _constant; }
  void setConstant(VakNum constant) { _constant = constant; }
  /// The terms in the order in which they were added; a variable may stand in several.
  [[nodiscard]] std::span<const VakTerm> getTerms() const { return _terms; }
  /// True when there are no terms.
  [[nodiscard]] bool isConstant() const { return _terms.empty(); }
  /// The sum of the coefficients of `x`; throws as addTerm for an empty handle. Costs a walk over
  /// the terms.
  [[nodiscard]] VakNum getCoef(VakNumVar x) const;

  /// Appends a term. Amortised constant time.
  void addTerm(VakNumVar x, VakNum coef);
  /// Makes room for this many terms.
  void reserve(std::size_t terms) { _terms.reserve(terms); }
  /// Makes the expression zero and keeps its room.
  void clear();

  /// Add, subtract, multiply and divide in place; constants and factors may be any number.
  /// Variables and terms are appended, in constant time, whether or not they are there already.
  /// Throw std::bad_alloc and, for an empty handle, VakEmptyHandleException.
  VakExpr& operator+=(VakNum constant);
  VakExpr& operator-=(VakNum constant);
  VakExpr& operator+=(VakNumVar x);
  VakExpr& operator-=(VakNumVar x);
  VakExpr& operator+=(VakTerm term);
  VakExpr& operator-=(VakTerm term);
  VakExpr& operator+=(const VakExpr& e);
  VakExpr& operator-=(const VakExpr& e);
  VakExpr& operator*=(VakNum factor);
  VakExpr& operator/=(VakNum divisor);
  /// Turns every sign.
  void negate();

  /// True when it is cheap to see that each variable occurs once, with a coefficient that is not 0.
  [[nodiscard]] bool isNormal() const;
  /// Leaves one term for each variable, at the place of its first one, and none whose coefficient
  /// is zero. Linear time on average; the order is that of the expression, not of addresses.
  void normalize();
  /// Puts `e` in the place of `x`. `e` may contain `x`.
  void substitute(VakNumVar x, const VakExpr& e);

 private:
  /// Adds `sign`, 1 or -1, times `e`; changes nothing when memory runs out.
  void append(const VakExpr& e, VakNum sign);

  std::vector<VakTerm> _terms;
  VakNum _constant = 0;
};

/// Writes it as in "3 x + 2 y - 1"; a variable without a name as in "#12", the number being its
/// identifier; an expression without terms as its constant.
std::ostream& operator<<(std::ostream& out, const VakExpr& e);

/// Writes it as in "3 x"; without a variable as (empty).
std::ostream& operator<<(std::ostream& out, const VakTerm& term);

/// A variable or a term.
template <class T>
concept VakLinearAtom = std::derived_from<T, VakNumVar> || std::same_as<T, VakTerm>;
/// A number, of any type but bool and the characters' own uses of it.
template <class T>
concept VakNumber = std::is_arithmetic_v<T> && !std::same_as<T, bool>;
/// What a linear expression is made of, numbers apart.
template <class T>
concept VakLinearPart =
    VakLinearAtom<T> || std::same_as<T, VakExpr> || std::derived_from<T, VakNumExpr>;

/// Two operands, at least one of which is not a number.
template <class A, class B>
concept VakLinearOperands =
    (VakLinearPart<std::remove_cvref_t<A>> &&
     (VakLinearPart<std::remove_cvref_t<B>> || VakNumber<std::remove_cvref_t<B>>)) ||
    (VakNumber<std::remove_cvref_t<A>> && VakLinearPart<std::remove_cvref_t<B>>);

/// An operand as an expression; one that is an expression already and no longer needed is moved.
/// Threads: read-shared, as the operand is. Phases: open.
template <class T>
[[nodiscard]] VakExpr VakMakeExpr(T&& operand) {
  if constexpr (VakNumber<std::remove_cvref_t<T>>) {
    return VakExpr(static_cast<VakNum>(operand));
  } else {
    return VakExpr(std::forward<T>(operand));
  }
}

/// The sum of two numbers, variables, terms or expressions, of which one is no number. What is
/// about to go is built upon, not copied. Throws std::bad_alloc.
/// Threads: read-shared, as the operands are. Phases: open.
template <class A, class B>
requires VakLinearOperands<A, B>
[[nodiscard]] VakExpr operator+(A&& a, B&& b) {
  VakExpr sum = VakMakeExpr(std::forward<A>(a));
  if constexpr (VakNumber<std::remove_cvref_t<B>>) {
    sum += static_cast<VakNum>(b);
  } else {
    sum += b;
  }
  return sum;
}

/// The difference, as the sum.
/// Threads: read-shared, as the operands are. Phases: open.
template <class A, class B>
requires VakLinearOperands<A, B>
[[nodiscard]] VakExpr operator-(A&& a, B&& b) {
  VakExpr difference = VakMakeExpr(std::forward<A>(a));
  if constexpr (VakNumber<std::remove_cvref_t<B>>) {
    difference -= static_cast<VakNum>(b);
  } else {
    difference -= b;
  }
  return difference;
}

/// A number times a variable or a term is a term, times an expression an expression.
/// Threads: read-shared, as the operands are. Phases: open.
template <VakNumber N, class B>
requires VakLinearPart<std::remove_cvref_t<B>>
[[nodiscard]] auto operator*(N factor, B&& b) {
  const auto f = static_cast<VakNum>(factor);
  using Part = std::remove_cvref_t<B>;
  if constexpr (std::same_as<Part, VakTerm>) {
    return VakTerm(b.var, f * b.coef);
  } else if constexpr (VakLinearAtom<Part>) {
    return VakTerm(b, f);
  } else {
    VakExpr product = VakMakeExpr(std::forward<B>(b));
    product *= f;
    return product;
  }
}
template <class A, VakNumber N>
requires VakLinearPart<std::remove_cvref_t<A>>
[[nodiscard]] auto operator*(A&& a, N factor) { return factor * std::forward<A>(a); }

/// A variable or a term through a number is a term, an expression through a number an expression.
/// Threads: read-shared, as the operands are. Phases: open.
template <class A, VakNumber N>
requires VakLinearPart<std::remove_cvref_t<A>>
[[nodiscard]] auto operator/(A&& a, N divisor) {
  const auto d = static_cast<VakNum>(divisor);
  using Part = std::remove_cvref_t<A>;
  if constexpr (std::same_as<Part, VakTerm>) {
    return VakTerm(a.var, a.coef / d);
  } else if constexpr (VakLinearAtom<Part>) {
    return VakTerm(a, 1 / d);
  } else {
    VakExpr quotient = VakMakeExpr(std::forward<A>(a));
    quotient /= d;
    return quotient;
  }
}

/// With all signs changed: a term of a variable or a term, an expression of an expression.
/// Threads: read-shared, as the operand is. Phases: open.
template <class A>
requires VakLinearPart<std::remove_cvref_t<A>>
[[nodiscard]] auto operator-(A&& a) { return -1.0 * std::forward<A>(a); }
/// As it is, as an expression.
/// Threads: read-shared, as the operand is. Phases: open.
template <class A>
requires VakLinearPart<std::remove_cvref_t<A>>
[[nodiscard]] VakExpr operator+(A&& a) { return VakMakeExpr(std::forward<A>(a)); }

// ---- Sums over arrays ---------------------------------------------------------------------------

/// The number of elements of an array handle of the library, 0 for an empty one, or of a range of
/// the language.
/// Threads: read-shared, as the container is. Phases: any, as long as the container.
template <class C>
[[nodiscard]] std::size_t VakCountOf(const C& container) {
  if constexpr (requires { container.getImpl()->_size; }) {
    return container.getImpl() == nullptr ? 0 : static_cast<std::size_t>(container.getSize());
  } else {
    return static_cast<std::size_t>(std::size(container));
  }
}

/// Throws VakModelError, since two arrays that belong together have different sizes.
/// Threads: thread safe. Phases: any.
[[noreturn]] void VakThrowSizeMismatch(const char* operation, std::size_t a, std::size_t b);

/// The sum of a range of variables, terms or expressions.
/// Threads: read-shared, as the operands are. Phases: open.
template <class C>
[[nodiscard]] VakExpr VakSum(const C& operands) {
  VakExpr sum;
  sum.reserve(VakCountOf(operands));
  for (const auto& operand : operands) sum += operand;
  return sum;
}
/// The sum of what `part` gives for each element, as in
/// VakSum(plants, [&](int p) { return cost[p] * x[p]; }).
/// Threads: read-shared, as the elements and `part` are. Phases: open.
template <class C, class F>
[[nodiscard]] VakExpr VakSum(const C& elements, F part) {
  VakExpr sum;
  for (const auto& element : elements) sum += part(element);
  return sum;
}

/// The sum of the products of a range of numbers and a range of variables, which must be equally
/// long (VakModelError otherwise).
/// Threads: read-shared, as the operands are. Phases: open.
template <class Coefs, class Vars>
[[nodiscard]] VakExpr VakScalProd(const Coefs& coefs, const Vars& vars) {
  if (VakCountOf(coefs) != VakCountOf(vars)) {
    VakThrowSizeMismatch("VakScalProd", VakCountOf(coefs), VakCountOf(vars));
  }
  VakExpr sum;
  sum.reserve(VakCountOf(vars));
  auto coef = std::ranges::begin(coefs);
  for (const VakNumVar var : vars) sum.addTerm(var, static_cast<VakNum>(*coef++));
  return sum;
}
