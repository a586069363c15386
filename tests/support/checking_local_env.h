#pragma once

// A local environment that checks the size of every block that comes back.

#include "tests/support/block_ledger.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/core/local_env.h"

/// Serves from the environment's pool. Blocks taken before it was installed pass unchecked.
class VakCheckingLocalEnv : public VakLocalEnvI {
 public:
  explicit VakCheckingLocalEnv(VakEnvI* env) : VakLocalEnvI(env) {}

  [[nodiscard]] void* alloc(unsigned long size) override {
    ledger.request();
    void* block = _env->_memory.allocate(size);
    ledger.take(block, size);
    return block;
  }
  void free(void* p, unsigned long size) override {
    if (p == nullptr) return;
    const bool isKnown = ledger.blocks().contains(p);
    if (!isKnown || ledger.giveBack(p, size)) _env->_memory.deallocate(p, size);
  }
  VakInt init(VakExtractableI* /*e*/) override { return bookId(); }
  void saveValue(void** /*address*/) override {}
  void saveValue(long* /*address*/) override {}
  void saveValue(double* /*address*/) override {}

  VakBlockLedger ledger;
};

/// Keeps a VakCheckingLocalEnv installed in an environment for the life of a scope.
class VakCheckedPath {
 public:
  explicit VakCheckedPath(VakEnvI* env) : _local(env) {
    _local._next = env->_localEnv;
    env->_localEnv = &_local;
  }
  ~VakCheckedPath() { _local._env->_localEnv = _local._next; }
  VakCheckedPath(const VakCheckedPath&) = delete;
  VakCheckedPath& operator=(const VakCheckedPath&) = delete;

  [[nodiscard]] VakBlockLedger& ledger() { return _local.ledger; }

 private:
  VakCheckingLocalEnv _local;
};
