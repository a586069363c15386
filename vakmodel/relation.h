#pragma once

// Relations as values: what 3 * x + 2 * y <= 12 gives, for a constraint to be made of.
//
//   a <= b      a >= b      a == b      between any two operands of vakmodel/expr.h
//   1 <= x + y <= 4         two-sided: numbers outside, from left to right
//   4 >= x + y >= 1
//   VakBetween(1, x + y, 4) the same in one call

#include "vakmodel/expr.h"

/// lower <= expression <= upper. A plain value, like the expression in it.
///
/// Invariant: at least one of the bounds was given; the other is infinite until a second comparison
/// gives it.
///
/// Threads: confined; each thread may have its own, over variables that others read too.
/// Phases: open, while the variables in it live; gone of itself.
class VakRelation {
 public:
  /// lower <= expr <= upper, complete: no second comparison may follow.
  VakRelation(VakNum lower, VakExpr expr, VakNum upper)
      : _expr(std::move(expr)), _lower(lower), _upper(upper) {}
  /// x == y between variables, as the relation x - y == 0.
  VakRelation(VakVarEquality equality);

  /// The expression and its bounds; its constant belongs to the expression.
  [[nodiscard]] const VakExpr& getExpr() const { return _expr; }
  [[nodiscard]] VakNum getLB() const { return _lower; }
  [[nodiscard]] VakNum getUB() const { return _upper; }

  // left <= right and left >= right. A side without terms is the bound of the other one; if neither
  // has any, an expression stays on the side where a number is not, which `leftIsNumber` tells.
  // When the left one is the bound, a second comparison may follow.
  [[nodiscard]] static VakRelation LessOrEqual(VakExpr left, VakExpr right, bool leftIsNumber);
  [[nodiscard]] static VakRelation GreaterOrEqual(VakExpr left, VakExpr right, bool leftIsNumber);
  [[nodiscard]] static VakRelation Equal(VakExpr left, VakExpr right, bool leftIsNumber);

  // The second comparison of a two-sided relation. Throws VakModelError when the relation is not
  // one between a number and an expression, in this order, or has the bound already: then write two
  // constraints.

  void addUpper(VakNum upper);
  void addLower(VakNum lower);

 private:
  enum class Open : unsigned char { Nothing, Upper, Lower };

  VakExpr _expr;               ///< Its constant counts: lower <= terms + constant <= upper.
  VakNum _lower;               ///< Minus infinity for none.
  VakNum _upper;               ///< Plus infinity for none.
  Open _open = Open::Nothing;  ///< Which bound a second comparison may still give.
};

/// Writes it as in "3 x + 2 y <= 12" or "1 <= x + y <= 4".
std::ostream& operator<<(std::ostream& out, const VakRelation& relation);

/// Writes it as in "x == y".
std::ostream& operator<<(std::ostream& out, VakVarEquality equality);

/// lower <= e <= upper.
[[nodiscard]] VakRelation VakBetween(VakNum lower, VakExpr e, VakNum upper);

/// Compares two numbers, variables, terms or expressions, of which one is no number, as in
/// "2 * x <= y + 3".
/// Threads: read-shared, as the operands are. Phases: open.
template <class A, class B>
requires VakLinearOperands<A, B>
[[nodiscard]] VakRelation operator<=(A&& a, B&& b) {
  return VakRelation::LessOrEqual(VakMakeExpr(std::forward<A>(a)), VakMakeExpr(std::forward<B>(b)),
                                  VakNumber<std::remove_cvref_t<A>>);
}
/// The same from the other side.
/// Threads: read-shared, as the operands are. Phases: open.
template <class A, class B>
requires VakLinearOperands<A, B>
[[nodiscard]] VakRelation operator>=(A&& a, B&& b) {
  return VakRelation::GreaterOrEqual(VakMakeExpr(std::forward<A>(a)),
                                     VakMakeExpr(std::forward<B>(b)),
                                     VakNumber<std::remove_cvref_t<A>>);
}
/// Two variables have an operator of their own, which can also be read as a truth value.
/// Threads: read-shared, as the operands are. Phases: open.
template <class A, class B>
requires(VakLinearOperands<A, B> && !(std::derived_from<std::remove_cvref_t<A>, VakNumVar> &&
                                      std::derived_from<std::remove_cvref_t<B>, VakNumVar>))
    [[nodiscard]] VakRelation
    operator==(A&& a, B&& b) {
  return VakRelation::Equal(VakMakeExpr(std::forward<A>(a)), VakMakeExpr(std::forward<B>(b)),
                            VakNumber<std::remove_cvref_t<A>>);
}

/// The second comparison of "1 <= x + y <= 4"; throws as VakRelation::addUpper.
template <VakNumber N>
[[nodiscard]] VakRelation operator<=(VakRelation relation, N upper) {
  relation.addUpper(static_cast<VakNum>(upper));
  return relation;
}
/// The second comparison of "4 >= x + y >= 1"; throws as VakRelation::addLower.
template <VakNumber N>
[[nodiscard]] VakRelation operator>=(VakRelation relation, N lower) {
  relation.addLower(static_cast<VakNum>(lower));
  return relation;
}
