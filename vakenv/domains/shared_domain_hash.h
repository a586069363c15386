#pragma once

// The environment's tables of shared variable domains: from bounds to the one domain that every
// variable with these bounds uses.

#include "vakenv/fwd.h"
#include "vakenv/tables/env_hash_table.h"
#include "vakmodel/domains/range.h"
#include "vakmodel/domains/var_domain.h"

/// A table from ranges to domains in the environment's memory.
///
/// Nothing is ever removed. The table owns its items and buckets; the ranges and domains stay in
/// the environment's memory and go with it.
///
/// Threads: confined; nothing is shared through it in thread-safe mode.
/// Phases: open, until step 9 of the end.
/// Gives back: end() gives items and buckets back; domains go with the environment.
template <class K>
class VakSharedDomainHash : public VakEnvHashTable<K, VakVarDomainI*> {
 public:
  using VakEnvHashTable<K, VakVarDomainI*>::VakEnvHashTable;
};

/// Buckets of a fresh table; doubled when there are more than two domains to a bucket.
inline constexpr VakInt VakSharedDomainBuckets = 31;

/// Domains of integer bounds. Its owner calls create() once it is made.
///
/// Threads: confined; nothing is shared through it in thread-safe mode.
/// Phases: open, until step 9 of the end.
/// Gives back: end() gives items and buckets back; domains go with the environment.
class VakIntSharedDomainHash : public VakSharedDomainHash<VakIntRangeI*> {
 public:
  explicit VakIntSharedDomainHash(VakEnvI* env)
      : VakSharedDomainHash<VakIntRangeI*>(env, VakSharedDomainBuckets, VakIntDomainHashFunction,
                                           VakIntDomainCompFunction) {}
};

/// Domains of numeric bounds. Its owner calls create() once it is made.
///
/// Threads: confined; nothing is shared through it in thread-safe mode.
/// Phases: open, until step 9 of the end.
/// Gives back: end() gives items and buckets back; domains go with the environment.
class VakNumSharedDomainHash : public VakSharedDomainHash<VakNumRangeI*> {
 public:
  explicit VakNumSharedDomainHash(VakEnvI* env)
      : VakSharedDomainHash<VakNumRangeI*>(env, VakSharedDomainBuckets, VakNumDomainHashFunction,
                                           VakNumDomainCompFunction) {}
};
