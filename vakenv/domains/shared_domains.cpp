// One shared domain for each distinct pair of bounds.

#include <memory>
#include <utility>

#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/domains/shared_domain_hash.h"

namespace {

// The default domain needs no object.
bool isDefault(VakNum lb, VakNum ub) { return lb == 0.0 && ub == VakGetInfinity(); }

bool isBoolean(VakInt lb, VakInt ub) { return lb == 0 && ub == 1; }

// ---- Domains of their own ---------------------------------------------------------------------

VakVarDomainI* makeDomain(VakEnvI* env, VakNum lb, VakNum ub) {
  return VakCreate<VakNumVarDomainI>(env, lb, ub);
}

VakVarDomainI* makeDomain(VakEnvI* env, VakInt lb, VakInt ub) {
  if (isBoolean(lb, ub)) return VakCreate<VakBoolVarDomainI>(env, lb, ub);
  return VakCreate<VakIntVarDomainI>(env, lb, ub, VakInt{0});
}

// ---- Shared domains ---------------------------------------------------------------------------

VakVarDomainI* makeSharedDomain(VakEnvI* env, const VakNumRangeI& range) {
  return VakCreate<VakNumSharedVarDomainI>(env, range.getLB(), range.getUB());
}

VakVarDomainI* makeSharedDomain(VakEnvI* env, const VakIntRangeI& range) {
  const VakInt lb = range.getLB();
  const VakInt ub = range.getUB();
  if (isBoolean(lb, ub)) return VakCreate<VakBoolSharedVarDomainI>(env, lb, ub);
  return VakCreate<VakIntSharedVarDomainI>(env, lb, ub, VakInt{0});
}

// The domain filed under a range with the same bounds, or null.
template <class Range>
VakVarDomainI* find(const VakSharedDomainHash<Range*>& table, Range* range) {
  VakVarDomainI* domain = nullptr;
  return table.find(range, domain) == VakHashDone ? domain : nullptr;
}

// Files `domain` under `key`, which the table keeps. Neither remains when it fails.
template <class Range>
VakVarDomainI* file(VakSharedDomainHash<Range*>& table, std::unique_ptr<Range> key,
                    std::unique_ptr<VakVarDomainI> domain) {
  table.add(key.get(), domain.get());
  static_cast<void>(key.release());
  return domain.release();
}

// The two halves of every request: a temporary range serves as the key unless its bounds are known
// already; a range of the caller leads to a key of its own.
template <class Range>
VakVarDomainI* findOrFile(VakEnvI* env, VakSharedDomainHash<Range*>& table,
                          std::unique_ptr<Range> temporary) {
  if (VakVarDomainI* found = find(table, temporary.get())) return found;
  std::unique_ptr<VakVarDomainI> domain(makeSharedDomain(env, *temporary));
  return file(table, std::move(temporary), std::move(domain));
}

template <class Range>
VakVarDomainI* findOrFile(VakEnvI* env, VakSharedDomainHash<Range*>& table, Range* callers) {
  if (VakVarDomainI* found = find(table, callers)) return found;
  std::unique_ptr<VakVarDomainI> domain(makeSharedDomain(env, *callers));
  return file(table, std::unique_ptr<Range>(callers->makeKey(env)), std::move(domain));
}

}  // namespace

// Late in the environment's end the tables are gone; what plug-ins ask for then is not shared
// either.

VakVarDomainI* VakEnvI::getOrMakeSharedDomain(VakNum lb, VakNum ub) {
  if (isDefault(lb, ub)) return nullptr;
  if (_localEnv != nullptr || _numDomains == nullptr) return makeDomain(this, lb, ub);
  return findOrFile(this, *_numDomains,
                    std::unique_ptr<VakNumRangeI>(VakCreate<VakNumRangeI>(this, lb, ub)));
}

// Deliberate: unlike with bounds, the local environment is asked for first, so while it is
// installed 0 and infinity give a domain too.
VakVarDomainI* VakEnvI::getOrMakeSharedDomain(VakNumRangeI* r) {
  if (_localEnv != nullptr || _numDomains == nullptr) {
    return makeDomain(this, r->getLB(), r->getUB());
  }
  if (isDefault(r->getLB(), r->getUB())) return nullptr;
  return findOrFile(this, *_numDomains, r);
}

VakVarDomainI* VakEnvI::getOrMakeSharedDomain(VakIntRangeI* r) {
  if (_localEnv != nullptr || _intDomains == nullptr) {
    return makeDomain(this, r->getLB(), r->getUB());
  }
  return findOrFile(this, *_intDomains, r);
}

VakVarDomainI* VakEnvI::getOrMakeSharedDomain(VakInt lb, VakInt ub) {
  if (_localEnv != nullptr || _intDomains == nullptr) return makeDomain(this, lb, ub);
  return findOrFile(this, *_intDomains,
                    std::unique_ptr<VakIntRangeI>(VakCreate<VakIntRangeI>(this, lb, ub)));
}
