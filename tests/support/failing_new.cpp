// The replaced global operators new and delete: malloc and free with a count.
#include "tests/support/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> _calls{0};  ///< Calls of operator new since a `VakFailingNew` began to live.
std::atomic<long> _failingCall{0};           ///< The call that fails; 0: none.
std::atomic<bool> _failsOn{false};           ///< All calls after the failing one fail too.
std::atomic<VakSparesNew> _spares{nullptr};  ///< Asked which calls do not count; null for nobody.
std::atomic<long> _blocks{0};                ///< Blocks obtained and not given back.

std::atomic<VakHeapObserver*> _observer{nullptr};  ///< Told of blocks; null for none.

thread_local long _spared = 0;  ///< Number of `VakSparedNew` that live in this thread.

/// Counts a call out of the code at `caller` and tells whether it is to fail.
bool isToFail(const void* caller) noexcept {
  if (_spared != 0) return false;
  const VakSparesNew spares = _spares.load();
  if (spares != nullptr && spares(caller)) return false;
  const long call = ++_calls;
  const long failing = _failingCall.load();
  return call == failing || (failing != 0 && call > failing && _failsOn.load());
}

/// Returns `size` bytes, or null when this call is to fail or the heap is exhausted.
void* obtain(std::size_t size, std::size_t alignment, const void* caller) noexcept {
  if (isToFail(caller)) return nullptr;
  const std::size_t bytes = size == 0 ? 1 : size;
  void* block = nullptr;
  if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
    block = std::malloc(bytes);
  } else if (posix_memalign(&block, alignment, bytes) != 0) {
    block = nullptr;
  }
  if (block != nullptr) {
    ++_blocks;
    if (VakHeapObserver* observer = _observer) observer->obtained(block, size);
  }
  return block;
}

void* obtainOrThrow(std::size_t size, std::size_t alignment, const void* caller) {
  void* block = obtain(size, alignment, caller);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void giveBack(void* block) noexcept {
  if (block == nullptr) return;
  --_blocks;
  if (VakHeapObserver* observer = _observer) observer->givenBack(block);
  std::free(block);
}

constexpr std::size_t Usual = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

std::size_t asBytes(std::align_val_t alignment) { return static_cast<std::size_t>(alignment); }

}  // namespace

VakHeapObserver::VakHeapObserver() noexcept { _observer = this; }

VakHeapObserver::~VakHeapObserver() { _observer = nullptr; }

VakSparedNew::VakSparedNew() noexcept { ++_spared; }

VakSparedNew::~VakSparedNew() { --_spared; }

VakFailingNew::VakFailingNew(long failAt, VakFailureSpan span, VakSparesNew spares) noexcept
    : _failAt(failAt) {
  _calls = 0;
  _spares = spares;
  _failsOn = span == VakFailureSpan::FromThenOn;
  _failingCall = failAt;
}

VakFailingNew::~VakFailingNew() {
  _failingCall = 0;
  _spares = nullptr;
}

long VakFailingNew::count() const noexcept { return _calls.load(); }

bool VakFailingNew::hasFailed() const noexcept { return _failAt != 0 && _calls.load() >= _failAt; }

long VakFailingNew::CountBlocks() noexcept { return _blocks.load(); }

#if defined(__SANITIZE_ADDRESS__)
#define VAK_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VAK_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef VAK_ADDRESS_SANITIZER
// A request that is too large is to throw under the sanitizer too, as it does without, and not to
// end the program.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif

void* operator new(std::size_t size) {
  return obtainOrThrow(size, Usual, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
  return obtainOrThrow(size, Usual, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return obtainOrThrow(size, asBytes(alignment), __builtin_return_address(0));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return obtainOrThrow(size, asBytes(alignment), __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return obtain(size, Usual, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return obtain(size, Usual, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return obtain(size, asBytes(alignment), __builtin_return_address(0));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return obtain(size, asBytes(alignment), __builtin_return_address(0));
}

void operator delete(void* block) noexcept { giveBack(block); }
void operator delete[](void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t) noexcept { giveBack(block); }
void operator delete(void* block, std::align_val_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::align_val_t) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { giveBack(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { giveBack(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { giveBack(block); }
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  giveBack(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  giveBack(block);
}
