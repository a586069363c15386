#include "vakmodel/expr.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <functional>
#include <ostream>

#include "vakmodel/contract/extractable.h"
#include "vakmodel/errors.h"
#include "vakmodel/num_expr.h"

namespace {

const VakExtractableI* addressOf(const VakTerm& term) { return term.var.VakExtractable::getImpl(); }

void requireVariable(VakNumVar x) {
  if (x.isEmpty()) [[unlikely]]
    throw VakEmptyHandleException("VakNumVar: Using empty handle");
}

// Up to so many terms comparing each with each is faster than a table.
constexpr std::size_t MostCompared = 12;

// Merges the terms of a short list into those before them; returns how many are left.
std::size_t mergeByComparing(std::span<VakTerm> terms) {
  std::size_t kept = 0;
  for (const VakTerm& term : terms) {
    const auto before = terms.first(kept);
    const auto same = std::find_if(before.begin(), before.end(), [&term](const VakTerm& t) {
      return addressOf(t) == addressOf(term);
    });
    if (same != before.end()) {
      same->coef += term.coef;
    } else {
      terms[kept++] = term;
    }
  }
  return kept;
}

// The same for a long list, with a table from variables to places in the list.
std::size_t mergeByTable(std::span<VakTerm> terms) {
  const std::size_t buckets = std::bit_ceil(2 * terms.size());
  const int shift = 64 - std::countr_zero(buckets);
  std::vector<std::size_t> table(buckets, 0);
  std::size_t kept = 0;
  for (const VakTerm& term : terms) {
    const auto key = reinterpret_cast<std::uintptr_t>(addressOf(term)) >> 3;
    std::size_t bucket = (key * 0x9E3779B97F4A7C15U) >> shift;
    while (table[bucket] != 0 && addressOf(terms[table[bucket] - 1]) != addressOf(term)) {
      bucket = (bucket + 1) & (buckets - 1);
    }
    if (table[bucket] != 0) {
      terms[table[bucket] - 1].coef += term.coef;
    } else {
      terms[kept++] = term;
      table[bucket] = kept;
    }
  }
  return kept;
}

// Addresses that rise show that no variable occurs twice.
bool isRising(std::span<const VakTerm> terms) {
  return std::adjacent_find(terms.begin(), terms.end(), [](const VakTerm& a, const VakTerm& b) {
           return !std::less<>()(addressOf(a), addressOf(b));
         }) == terms.end();
}

void printCoef(std::ostream& out, const VakTerm& term, bool first) {
  VakNum coef = term.coef;
  if (!first) {
    out << (coef < 0 ? " - " : " + ");
    coef = coef < 0 ? -coef : coef;
  } else if (coef == -1) {
    out << '-';
    coef = 1;
  }
  if (coef != 1) out << coef << ' ';
  out << term.var;
}

}  // namespace

VakExpr::VakExpr(VakNumVar x) { addTerm(x, 1); }

VakExpr::VakExpr(VakTerm term) { addTerm(term.var, term.coef); }

VakExpr::VakExpr(VakNumExpr e) { *this = e.getExpr(); }

VakNum VakExpr::getCoef(VakNumVar x) const {
  requireVariable(x);
  VakNum sum = 0;
  for (const VakTerm& term : _terms) {
    if (term.var.is(x)) sum += term.coef;
  }
  return sum;
}

void VakExpr::addTerm(VakNumVar x, VakNum coef) {
  requireVariable(x);
  _terms.emplace_back(x, coef);
}

void VakExpr::clear() {
  _terms.clear();
  _constant = 0;
}

VakExpr& VakExpr::operator+=(VakNum constant) {
  _constant += constant;
  return *this;
}

VakExpr& VakExpr::operator-=(VakNum constant) {
  _constant -= constant;
  return *this;
}

VakExpr& VakExpr::operator+=(VakNumVar x) {
  addTerm(x, 1);
  return *this;
}

VakExpr& VakExpr::operator-=(VakNumVar x) {
  addTerm(x, -1);
  return *this;
}

VakExpr& VakExpr::operator+=(VakTerm term) {
  addTerm(term.var, term.coef);
  return *this;
}

VakExpr& VakExpr::operator-=(VakTerm term) {
  addTerm(term.var, -term.coef);
  return *this;
}

VakExpr& VakExpr::operator+=(const VakExpr& e) {
  append(e, 1);
  return *this;
}

VakExpr& VakExpr::operator-=(const VakExpr& e) {
  append(e, -1);
  return *this;
}

// By index and by copy, since `e` may be this expression.
void VakExpr::append(const VakExpr& e, VakNum sign) {
  const std::size_t before = _terms.size();
  const std::size_t count = e._terms.size();
  try {
    for (std::size_t i = 0; i < count; ++i) {
      const VakTerm term = e._terms[i];
      _terms.emplace_back(term.var, sign * term.coef);
    }
  } catch (...) {
    _terms.resize(before);
    throw;
  }
  _constant += sign * e._constant;
}

VakExpr& VakExpr::operator*=(VakNum factor) {
  for (VakTerm& term : _terms) term.coef *= factor;
  _constant *= factor;
  return *this;
}

VakExpr& VakExpr::operator/=(VakNum divisor) {
  for (VakTerm& term : _terms) term.coef /= divisor;
  _constant /= divisor;
  return *this;
}

void VakExpr::negate() { *this *= -1; }

bool VakExpr::isNormal() const {
  return isRising(_terms) && std::none_of(_terms.begin(), _terms.end(),
                                          [](const VakTerm& term) { return term.coef == 0; });
}

void VakExpr::normalize() {
  if (!isRising(_terms)) {
    _terms.resize(_terms.size() <= MostCompared ? mergeByComparing(_terms) : mergeByTable(_terms));
  }
  std::erase_if(_terms, [](const VakTerm& term) { return term.coef == 0; });
}

void VakExpr::substitute(VakNumVar x, const VakExpr& e) {
  VakExpr result = *this;
  std::erase_if(result._terms, [x](const VakTerm& term) { return term.var.is(x); });
  result += getCoef(x) * e;
  *this = std::move(result);
}

std::ostream& operator<<(std::ostream& out, const VakExpr& e) {
  bool first = true;
  for (const VakTerm& term : e.getTerms()) {
    printCoef(out, term, first);
    first = false;
  }
  const VakNum constant = e.getConstant();
  if (first) return out << constant;
  if (constant != 0) out << (constant < 0 ? " - " : " + ") << (constant < 0 ? -constant : constant);
  return out;
}

std::ostream& operator<<(std::ostream& out, const VakTerm& term) {
  if (term.var.isEmpty()) return out << VakEmptyHandleText;
  printCoef(out, term, true);
  return out;
}
