#pragma once

// The three owners of properties, each as an object named `owner` whose memory comes from the
// environment `env`: for typed tests of what they have in common.

#include <gtest/gtest.h>

#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakenv/properties/extensible_object.h"

/// The environment itself.
struct VakEnvOwner {
  VakScopedEnv env;
  VakEnvI* owner = env.impl();
  void end() { env.env.end(); }
};

/// An extensible object in an environment.
struct VakEnvObjectOwner {
  VakScopedEnv env;
  VakExtensibleRttiEnvObjectI* owner = VakCreate<VakExtensibleRttiEnvObjectI>(env.impl());
  ~VakEnvObjectOwner() { end(); }
  void end() {
    delete owner;
    owner = nullptr;
  }
};

/// An extensible object in a memory manager.
struct VakManagerObjectOwner {
  VakScopedEnv env;
  VakExtensibleRttiMemoryManagerObjectI* owner =
      VakCreate<VakExtensibleRttiMemoryManagerObjectI>(env.env.getMemoryManager());
  ~VakManagerObjectOwner() { end(); }
  void end() {
    delete owner;
    owner = nullptr;
  }
};

using VakPropertyOwners = testing::Types<VakEnvOwner, VakEnvObjectOwner, VakManagerObjectOwner>;

/// Names the owners in test names.
struct VakPropertyOwnerName {
  template <class T>
  static std::string GetName(int) {
    if (std::is_same_v<T, VakEnvOwner>) return "Environment";
    return std::is_same_v<T, VakEnvObjectOwner> ? "EnvObject" : "ManagerObject";
  }
};
