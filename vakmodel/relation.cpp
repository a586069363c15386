#include "vakmodel/relation.h"

#include <cmath>
#include <ostream>

#include "vakbase/globals.h"
#include "vakmodel/object_text.h"

VakRelation::VakRelation(VakVarEquality equality)
    : VakRelation(0, equality.getLeft() - equality.getRight(), 0) {}

VakRelation VakRelation::LessOrEqual(VakExpr left, VakExpr right, bool leftIsNumber) {
  if (right.isConstant() && !leftIsNumber) {
    return VakRelation(-VakGetInfinity(), std::move(left), right.getConstant());
  }
  if (left.isConstant()) {
    VakRelation relation(left.getConstant(), std::move(right), VakGetInfinity());
    relation._open = Open::Upper;
    return relation;
  }
  left -= right;
  return VakRelation(-VakGetInfinity(), std::move(left), 0);
}

VakRelation VakRelation::GreaterOrEqual(VakExpr left, VakExpr right, bool leftIsNumber) {
  if (right.isConstant() && !leftIsNumber) {
    return VakRelation(right.getConstant(), std::move(left), VakGetInfinity());
  }
  if (left.isConstant()) {
    VakRelation relation(-VakGetInfinity(), std::move(right), left.getConstant());
    relation._open = Open::Lower;
    return relation;
  }
  left -= right;
  return VakRelation(0, std::move(left), VakGetInfinity());
}

VakRelation VakRelation::Equal(VakExpr left, VakExpr right, bool leftIsNumber) {
  if (leftIsNumber || (left.isConstant() && !right.isConstant())) std::swap(left, right);
  if (right.isConstant()) {
    const VakNum value = right.getConstant();
    return VakRelation(value, std::move(left), value);
  }
  left -= right;
  return VakRelation(0, std::move(left), 0);
}

void VakRelation::addUpper(VakNum upper) {
  if (_open != Open::Upper) {
    VakThrowModelError(nullptr,
                       "A second <= follows a relation that is not number <= expression. Write two "
                       "constraints.");
  }
  _upper = upper;
  _open = Open::Nothing;
}

void VakRelation::addLower(VakNum lower) {
  if (_open != Open::Lower) {
    VakThrowModelError(nullptr,
                       "A second >= follows a relation that is not number >= expression. Write two "
                       "constraints.");
  }
  _lower = lower;
  _open = Open::Nothing;
}

VakRelation VakBetween(VakNum lower, VakExpr e, VakNum upper) {
  return VakRelation(lower, std::move(e), upper);
}

std::ostream& operator<<(std::ostream& out, const VakRelation& relation) {
  const VakNum lower = relation.getLB();
  const VakNum upper = relation.getUB();
  const VakNum infinity = VakGetInfinity();
  if (lower == upper) return out << relation.getExpr() << " == " << upper;
  if (upper == infinity && lower != -infinity) return out << relation.getExpr() << " >= " << lower;
  if (lower != -infinity) out << lower << " <= ";
  out << relation.getExpr();
  if (upper == infinity) return out << " free";
  return out << " <= " << upper;
}

std::ostream& operator<<(std::ostream& out, VakVarEquality equality) {
  return out << equality.getLeft() << " == " << equality.getRight();
}
