// The waiting regions: lists threaded through their first words, by size, under a lock.
#include "vakbase/slab_cache.h"

#include <sys/mman.h>

#include <array>
#include <mutex>
#include <new>
#include <utility>

#include "vakbase/poison.h"
#include "vakbase/size_classes.h"

namespace {

/// Bytes that may wait at first: the memory of a model of about a million objects.
constexpr VakInt UsualLimit = VakInt{128} * 1024 * 1024;

/// A region that waits.
struct WaitingRegion {
  WaitingRegion* _next;  ///< The region of this list that came before; null at the first.
  unsigned long _bytes;  ///< Bytes of the region.
};

/// What waits, in a list a size class. Regions of one class mostly have one size, because pools ask
/// for few sizes. The members are plain, so that nothing runs when the process begins or ends; what
/// waits at the end of a process goes with it.
struct Cache {
  using Lists = std::array<WaitingRegion*, VakSizeClasses::Count>;

  std::mutex _lock;
  Lists _newest = {};          ///< The regions that came last, which are the warmest; owned.
  VakInt _bytes = 0;           ///< Bytes of the regions that wait.
  VakInt _limit = UsualLimit;  ///< Bytes that may wait.
};

constinit Cache cache;

WaitingRegion*& listOf(unsigned long bytes) noexcept {
  return cache._newest[static_cast<std::size_t>(VakSizeClasses::GetGeometricIndex(bytes))];
}

// Huge pages are a wish: where the system grants none, the memory is as good in small ones.
void* obtain(unsigned long bytes) {
  if (bytes < VakSlabCache::HugeBytes) return ::operator new(bytes);
  constexpr unsigned long alignment = VakSlabCache::HugeAlignment;
  void* start = ::operator new (bytes, std::align_val_t{alignment});
  static_cast<void>(::madvise(start, bytes / alignment * alignment, MADV_HUGEPAGE));
  return start;
}

void release(void* region, unsigned long bytes) noexcept {
  if (bytes < VakSlabCache::HugeBytes) {
    ::operator delete(region);
  } else {
    ::operator delete (region, std::align_val_t{VakSlabCache::HugeAlignment});
  }
}

/// Gives the regions of all lists back to the heap and returns their bytes. The lock is not held,
/// for the program's operator delete may do what it likes.
VakInt releaseAll(const Cache::Lists& lists) noexcept {
  VakInt bytes = 0;
  for (WaitingRegion* region : lists) {
    while (region != nullptr) {
      WaitingRegion* next = region->_next;
      bytes += static_cast<VakInt>(region->_bytes);
      release(region, region->_bytes);
      region = next;
    }
  }
  return bytes;
}

}  // namespace

VakInt VakEmptySlabCache() noexcept {
  Cache::Lists taken;
  {
    const std::scoped_lock guard(cache._lock);
    taken = std::exchange(cache._newest, {});
    cache._bytes = 0;
  }
  return releaseAll(taken);
}

VakInt VakGetSlabCacheUsage() noexcept {
  const std::scoped_lock guard(cache._lock);
  return cache._bytes;
}

void VakSetSlabCacheLimit(VakInt bytes) noexcept {
  bool isFull = false;
  {
    const std::scoped_lock guard(cache._lock);
    cache._limit = bytes;
    isFull = cache._bytes > bytes;
  }
  if (isFull) VakEmptySlabCache();
}

void* VakSlabCache::Take(unsigned long bytes) {
  if (bytes >= SmallestBytes && bytes <= VakSizeClasses::LargestSize) {
    const std::scoped_lock guard(cache._lock);
    WaitingRegion*& newest = listOf(bytes);
    if (WaitingRegion* region = newest; region != nullptr && region->_bytes == bytes) {
      newest = region->_next;
      cache._bytes -= static_cast<VakInt>(bytes);
      return region;
    }
  }
  return obtain(bytes);
}

void VakSlabCache::GiveBack(void* region, unsigned long bytes) noexcept {
  if (!VakIsSanitized && bytes >= SmallestBytes) {
    const std::scoped_lock guard(cache._lock);
    if (static_cast<VakInt>(bytes) <= cache._limit - cache._bytes) {
      WaitingRegion*& newest = listOf(bytes);
      newest = ::new (region) WaitingRegion{newest, bytes};
      cache._bytes += static_cast<VakInt>(bytes);
      return;
    }
  }
  release(region, bytes);
}
