#pragma once

// A local environment that writes down what comes its way.

#include <string>
#include <vector>

#include "vakenv/core/environment_impl.h"
#include "vakenv/core/local_env.h"

/// Serves from the environment's pool and records every call, as in "alloc 24" and "free 24".
class VakRecordingLocalEnv : public VakLocalEnvI {
 public:
  explicit VakRecordingLocalEnv(VakEnvI* env) : VakLocalEnvI(env) {}

  [[nodiscard]] void* alloc(unsigned long size) override {
    calls.push_back("alloc " + std::to_string(size));
    return _env->_memory.allocate(size);
  }
  void free(void* p, unsigned long size) override {
    calls.push_back((p == nullptr ? "free null " : "free ") + std::to_string(size));
    if (p != nullptr) _env->_memory.deallocate(p, size);
  }
  VakInt init(VakExtractableI* /*e*/) override {
    calls.push_back("init");
    return bookId();
  }
  void saveValue(void** address) override { saved.push_back(address); }
  void saveValue(long* address) override { saved.push_back(address); }
  void saveValue(double* address) override { saved.push_back(address); }

  std::vector<std::string> calls;  ///< Everything but saveValue, in order.
  std::vector<void*> saved;        ///< The addresses given to saveValue, in order.
};

/// Keeps a VakRecordingLocalEnv installed in an environment for the life of a scope.
class VakRecordedPath {
 public:
  explicit VakRecordedPath(VakEnvI* env) : local(env) {
    local._next = env->_localEnv;
    env->_localEnv = &local;
  }
  ~VakRecordedPath() { local._env->_localEnv = local._next; }
  VakRecordedPath(const VakRecordedPath&) = delete;
  VakRecordedPath& operator=(const VakRecordedPath&) = delete;

  VakRecordingLocalEnv local;
};
