#pragma once

// What every fuzz target shares. A target is one function over bytes. It reads them as a program of
// operations, does each on the library and on a plain model beside it, and compares the two:
//
//   extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
//
// libFuzzer calls it with inputs of its own making; replay.cpp calls it with files.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/support/environment_mode.h"
#include "vakmodel/check.h"

/// The bytes of one input, read as small numbers. Behind the last one every number is 0.
class VakFuzzProgram {
 public:
  VakFuzzProgram(const std::uint8_t* data, std::size_t size) : _next(data), _left(size) {}

  [[nodiscard]] bool isOver() const { return _left == 0; }
  [[nodiscard]] std::size_t getLeft() const { return _left; }
  [[nodiscard]] const std::uint8_t* getRest() const { return _next; }

  /// The next byte.
  int byte() {
    if (_left == 0) return 0;
    --_left;
    return *_next++;
  }
  /// A number from 0 below `n`, which is at most 256.
  int below(int n) { return byte() % n; }
  /// True for one byte in two.
  bool flag() { return below(2) != 0; }

 private:
  const std::uint8_t* _next;  ///< Not owned.
  std::size_t _left;          ///< Bytes that were not read yet.
};

/// Ends the process with a message, so that the fuzzer keeps the input.
[[noreturn]] inline void VakFuzzFail(const char* file, int line, const std::string& what) {
  std::fprintf(stderr, "%s:%d: %s\n", file, line, what.c_str());
  std::abort();
}

/// Fails unless the condition holds.
#define VAK_FUZZ_REQUIRE(condition) \
  ((condition) ? static_cast<void>(0) : VakFuzzFail(__FILE__, __LINE__, #condition))
/// Fails, with the text, unless a check returned an empty one.
#define VAK_FUZZ_SOUND(text)                                                                      \
  do {                                                                                            \
    if (const std::string fault = (text); !fault.empty()) VakFuzzFail(__FILE__, __LINE__, fault); \
  } while (false)

/// Runs `operation` and returns the message of the `Failure` that it threw, or "" when it threw
/// none.
template <class Failure, class Operation>
std::string VakFuzzMessage(Operation operation) {
  try {
    operation();
  } catch (const Failure& failure) {
    return failure.getMessage();
  }
  return "";
}

/// An environment for one input, with pooled memory or without as its first byte says. A process
/// in which the pool was switched off from outside has none in any case.
class VakFuzzEnv {
 public:
  explicit VakFuzzEnv(VakFuzzProgram& program) : env(make(program.flag())) {}
  /// Proves everything once more and ends the environment.
  ~VakFuzzEnv() noexcept(false) {
    if (env.getImpl() == nullptr) return;
    check();
    env.end();
  }
  VakFuzzEnv(const VakFuzzEnv&) = delete;
  VakFuzzEnv& operator=(const VakFuzzEnv&) = delete;

  void check() const { VAK_FUZZ_SOUND(VakCheckModels(env)); }

  VakEnv env;

 private:
  static VakEnv make(bool isPooled) {
    static const bool mayPool = VakUsesPooledMemory();
    if (isPooled && mayPool) {
      VakUsePooledMemory();
    } else {
      VakUseUnpooledMemory();
    }
    return {};
  }
};
