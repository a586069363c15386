#pragma once

// What the tests of arrays share.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/unit/vakenv/arrays/array_memory.h"
#include "vakenv/arrays.h"
#include "vakenv/environment.h"

/// Ends an array when the test is over.
struct VakArrayDeleter {
  void operator()(VakArrayI* array) const { delete array; }
};
using VakArrayOwner = std::unique_ptr<VakArrayI, VakArrayDeleter>;

/// A new array of `size` integers in the memory of `manager`.
inline VakArrayOwner VakMakeIntegers(VakGenAlloc& manager, long size) {
  return VakArrayOwner(VakCreate<VakArrayI>(&manager, size, 8L));
}

/// A new array of the integers 0, 1, 2, ..., `size` - 1.
inline VakArrayOwner VakMakeCounting(VakGenAlloc& manager, long size) {
  VakArrayOwner array = VakMakeIntegers(manager, size);
  for (long i = 0; i < size; ++i) VakIntArray(array.get())[i] = i;
  return array;
}

/// The elements of an array, for comparisons.
template <class T>
std::vector<T> VakElements(VakArray<T> array) {
  return std::vector<T>(begin(array), end(array));
}

inline std::vector<long> VakIntegers(const VakArrayOwner& array) {
  return VakElements(VakArray<long>(array.get()));
}

/// Number of chunks that an array has.
inline long VakCountChunks(const VakArrayI& array) {
  long chunks = 0;
  if (array._data == nullptr) return 0;
  for (long k = 0; k <= array._mod; ++k) chunks += array._data[k] != nullptr ? 1 : 0;
  return chunks;
}

/// Gives each test an environment of its own, in the memory mode of the process.
class VakArrayEnvTest : public testing::Test {
 protected:
  VakScopedEnv _scope;
  const VakEnv env = _scope.env;
};

/// The message of the exception of type Exception that `action` throws.
template <class Exception>
[[nodiscard]] std::string VakMessageOf(const auto& action) {
  try {
    action();
  } catch (const Exception& exception) {
    return exception.getMessage();
  }
  return "nothing was thrown";
}
