#include "vakmodel/domains/range.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "vakenv/memory/create.h"
#include "vakenv/memory/env_memory.h"

namespace {

// Spreads every bit of `word` over the whole result, so that bounds that differ in a few bits,
// as whole numbers stored as floating-point numbers do, end in different buckets.
std::uint64_t mixed(std::uint64_t word) {
  word = (word ^ (word >> 30)) * 0xbf58476d1ce4e5b9U;
  word = (word ^ (word >> 27)) * 0x94d049bb133111ebU;
  return word ^ (word >> 31);
}

VakInt indexOf(std::uint64_t lb, std::uint64_t ub, VakInt size) {
  const std::uint64_t hash = mixed(mixed(lb) + 0x9e3779b97f4a7c15U + ub);
  return static_cast<VakInt>(hash % static_cast<std::uint64_t>(size));
}

// The one pattern of bits for all bounds that are equal to `bound`.
std::uint64_t canonicalBits(VakNum bound) {
  if (std::isnan(bound)) bound = std::numeric_limits<VakNum>::quiet_NaN();
  if (bound == 0.0) bound = 0.0;
  return std::bit_cast<std::uint64_t>(bound);
}

bool isSameBound(VakNum a, VakNum b) { return a == b || (std::isnan(a) && std::isnan(b)); }

}  // namespace

VakIntRangeI::VakIntRangeI(VakEnvI* env, VakInt lb, VakInt ub)
    : VakRttiEnvObjectI(env), _lb(lb), _ub(ub) {}

VakIntRangeI::~VakIntRangeI() noexcept(false) = default;

VakIntRangeI* VakIntRangeI::makeKey(VakEnvI* env) const {
  return VakConstructIn<VakIntRangeI>(VakNamedEnvMemory{env}, env, _lb, _ub);
}

VakNumRangeI::VakNumRangeI(VakEnvI* env, VakNum lb, VakNum ub)
    : VakRttiEnvObjectI(env), _lb(lb), _ub(ub) {}

VakNumRangeI::~VakNumRangeI() noexcept(false) = default;

VakNumRangeI* VakNumRangeI::makeKey(VakEnvI* env) const {
  return VakConstructIn<VakNumRangeI>(VakNamedEnvMemory{env}, env, _lb, _ub);
}

VakInt VakIntDomainHashFunction(VakIntRangeI* range, VakInt size) {
  return indexOf(static_cast<std::uint64_t>(range->getLB()),
                 static_cast<std::uint64_t>(range->getUB()), size);
}

VakInt VakIntDomainCompFunction(VakIntRangeI* a, VakIntRangeI* b) {
  return a->getLB() == b->getLB() && a->getUB() == b->getUB() ? 1 : 0;
}

VakInt VakNumDomainHashFunction(VakNumRangeI* range, VakInt size) {
  return indexOf(canonicalBits(range->getLB()), canonicalBits(range->getUB()), size);
}

VakInt VakNumDomainCompFunction(VakNumRangeI* a, VakNumRangeI* b) {
  return isSameBound(a->getLB(), b->getLB()) && isSameBound(a->getUB(), b->getUB()) ? 1 : 0;
}
