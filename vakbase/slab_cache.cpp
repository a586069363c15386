// The waiting slabs: a list threaded through their first words, under a lock.
#include "vakbase/slab_cache.h"

#include <sys/mman.h>

#include <mutex>
#include <new>
#include <utility>

#include "vakbase/poison.h"

namespace {

/// Bytes that may wait at first: the memory of a model of about a million objects.
constexpr VakInt UsualLimit = VakInt{128} * 1024 * 1024;

constexpr auto BytesOfSlab = static_cast<VakInt>(VakSlabCache::SlabBytes);

/// A slab that waits.
struct WaitingSlab {
  WaitingSlab* _next;  ///< The slab that came before this one; null at the first.
};

/// What waits. The members are plain, so that nothing runs when the process begins or ends; the
/// slabs of a process that ends go with it.
struct Cache {
  std::mutex _lock;
  WaitingSlab* _first = nullptr;  ///< The slab that came last, which is the warmest; owned.
  VakInt _bytes = 0;              ///< Bytes of the slabs that wait.
  VakInt _limit = UsualLimit;     ///< Bytes that may wait.
};

constinit Cache cache;

/// Takes slabs off the list until at most `limit` bytes wait, and returns them. The lock is held.
WaitingSlab* takeBeyond(VakInt limit) noexcept {
  WaitingSlab* taken = nullptr;
  while (cache._first != nullptr && cache._bytes > limit) {
    WaitingSlab* slab = cache._first;
    cache._first = slab->_next;
    cache._bytes -= BytesOfSlab;
    slab->_next = std::exchange(taken, slab);
  }
  return taken;
}

/// Gives slabs back to the heap and returns their bytes. The lock is not held, for the program's
/// operator delete may do what it likes.
VakInt release(WaitingSlab* slab) noexcept {
  VakInt bytes = 0;
  while (slab != nullptr) {
    VakSlabCache::ReleaseHuge(std::exchange(slab, slab->_next));
    bytes += BytesOfSlab;
  }
  return bytes;
}

}  // namespace

VakInt VakEmptySlabCache() noexcept {
  WaitingSlab* taken = nullptr;
  {
    const std::scoped_lock guard(cache._lock);
    taken = takeBeyond(0);
  }
  return release(taken);
}

VakInt VakGetSlabCacheUsage() noexcept {
  const std::scoped_lock guard(cache._lock);
  return cache._bytes;
}

void VakSetSlabCacheLimit(VakInt bytes) noexcept {
  WaitingSlab* taken = nullptr;
  {
    const std::scoped_lock guard(cache._lock);
    cache._limit = bytes;
    taken = takeBeyond(bytes);
  }
  release(taken);
}

void* VakSlabCache::Take() {
  {
    const std::scoped_lock guard(cache._lock);
    if (WaitingSlab* slab = cache._first; slab != nullptr) {
      cache._first = slab->_next;
      cache._bytes -= BytesOfSlab;
      return slab;
    }
  }
  return ObtainHuge(VakSlabCache::SlabBytes);
}

void VakSlabCache::GiveBack(void* slab) noexcept {
  if constexpr (!VakIsSanitized) {
    const std::scoped_lock guard(cache._lock);
    if (cache._bytes + BytesOfSlab <= cache._limit) {
      cache._first = ::new (slab) WaitingSlab{cache._first};
      cache._bytes += BytesOfSlab;
      return;
    }
  }
  ReleaseHuge(slab);
}

// Huge pages are a wish: where the system grants none, the memory is as good in small ones.
void* VakSlabCache::ObtainHuge(unsigned long bytes) {
  void* start = ::operator new (bytes, std::align_val_t{Alignment});
  static_cast<void>(::madvise(start, bytes / Alignment * Alignment, MADV_HUGEPAGE));
  return start;
}

void VakSlabCache::ReleaseHuge(void* start) noexcept {
  ::operator delete (start, std::align_val_t{Alignment});
}
