// Where the pool's memory comes from: regions of the heap, slabs, and blocks carved from slabs.
#include "vakbase/memory.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>

#include "vakbase/slab_cache.h"

namespace {

/// Alignment of every block and of every large element: a cache line.
constexpr unsigned long BlockAlignment = 64;

/// Bytes of the first block of a class and the bounds that doubling stops at, the one for small
/// elements and the one for large. Linking a block touches all of it and asks for the next one, so
/// both should still be in the first-level cache when their elements are handed out: with blocks of
/// 16 KiB a million small objects take a third longer.
constexpr long FirstBlockBytes = 256;
constexpr long LeastLargestBlockBytes = 4 * 1024;
constexpr long LargestBlockBytes = 16 * 1024;

/// The bound that doubling stops at for elements of so many bytes.
constexpr long largestBlockBytes(long stride) {
  constexpr long elements = 32;
  return std::clamp(elements * stride, LeastLargestBlockBytes, LargestBlockBytes);
}

/// Bytes of the first slab and the bound that doubling stops at. The slabs before the largest add
/// up to as much as it: a pool that asks for the first of the largest has outgrown a few megabytes.
constexpr unsigned long FirstSlabBytes = 4 * 1024;
constexpr unsigned long LargestSlabBytes = VakSlabCache::HugeBytes;

/// Elements of so many bytes are regions of their own.
constexpr unsigned long LargeElementBytes = 32 * 1024;

/// So is an element that does not fit into what is left of a slab while a new slab would hold fewer
/// than this many: what is left of a slab when it is replaced is at most this part of the next.
constexpr unsigned long FewElements = 8;

static_assert(FirstBlockBytes % BlockAlignment == 0);
static_assert(FirstSlabBytes / FewElements >= FirstBlockBytes);
static_assert(LargeElementBytes <= LargestSlabBytes / FewElements);
static_assert(LargestBlockBytes <= std::numeric_limits<unsigned short>::max(),
              "the bound of the next block and the elements of a block take half a word each");

constexpr unsigned long roundDown(unsigned long bytes) { return bytes & ~(BlockAlignment - 1); }
constexpr unsigned long roundUp(unsigned long bytes) {
  return roundDown(bytes + BlockAlignment - 1);
}

}  // namespace

VakMemory::VakMemory(long useMemoryManager) noexcept : _nextSlabBytes(FirstSlabBytes) {
  for (long index = 0; index < ClassCount; ++index) {
    SizeClass& sizeClass = _classes[index];
    sizeClass._allocator._pooled = useMemoryManager;
    sizeClass._allocator._elementSize = getElementSize(index);
    sizeClass._growth._nextBlockBytes = FirstBlockBytes;
    _allocators[index] = &sizeClass._allocator;
  }
}

VakMemory::~VakMemory() {
  if constexpr (VakChecksMemory) VakMemoryLedger::Forget(this);
  while (_regions != nullptr) {
    Region* region = _regions;
    _regions = region->_next;
    // The program's operator delete may not be the sanitizer's and leave the poison where it is.
    VakUnpoison(region, region->_bytes);
    VakSlabCache::GiveBack(region, region->_bytes);
  }
}

long VakMemory::getMemoryUsage() const {
  long bytes = 0;
  for (const SizeClass& sizeClass : _classes) bytes += sizeClass._allocator._bytesInUse;
  return bytes;
}

long VakMemory::getTotalMemoryUsage() const {
  long bytes = _bytesObtained;
  for (const SizeClass& sizeClass : _classes) bytes += sizeClass._allocator._bytesObtained;
  return bytes;
}

long VakMemory::getUsageWithCompanion() const {
  return getMemoryUsage() + (_companion == nullptr ? 0 : _companion->_bytesInUse);
}

long VakMemory::getHighWater() const { return std::max(_highWater, getUsageWithCompanion()); }

VakMemory::Block VakMemory::obtainBlock(long elementSize, const VakFixedSizeAllocatorI* taker) {
  const Block block = carveBlock(elementSize);
  if (Growth* growth = growthOf(taker, elementSize)) {
    growth->_elements += block.count;
    ++growth->_blocks;
    growth->_lastBlock = static_cast<unsigned short>(block.count);
  }
  return block;
}

VakMemory::Growth* VakMemory::growthOf(const VakFixedSizeAllocatorI* taker, long elementSize) {
  if (taker == nullptr) return nullptr;
  if (taker == _companion) return &_companionGrowth;
  SizeClass& sizeClass = _classes[getIndex(elementSize)];
  return taker == &sizeClass._allocator ? &sizeClass._growth : nullptr;
}

VakMemory::Block VakMemory::carveBlock(long elementSize) {
  const long index = getIndex(elementSize);
  const long stride = elementSize + VakGuardBytes;
  const auto bytes = static_cast<unsigned long>(stride);
  const bool fits = bytes <= static_cast<unsigned long>(_slabEnd - _slabCursor);
  if (bytes >= LargeElementBytes || (!fits && bytes > _nextSlabBytes / FewElements)) {
    return {FirstElement(obtainRegion(bytes + sizeof(Region) + BlockAlignment - 1)), 1};
  }
  if (!fits) obtainSlab();
  // A block ends with its slab, so that what is left of a slab serves before a new one is obtained.
  Growth& growth = _classes[index]._growth;
  const long available = std::min(long{growth._nextBlockBytes}, _slabEnd - _slabCursor);
  const Block block{_slabCursor, std::max(available / stride, 1L)};
  _slabCursor += roundUp(static_cast<unsigned long>(block.count * stride));
  growth._nextBlockBytes =
      static_cast<unsigned short>(std::min(2L * growth._nextBlockBytes, largestBlockBytes(stride)));
  return block;
}

void VakMemory::obtainSlab() {
  Region* region = obtainRegion(_nextSlabBytes);
  _slabCursor = FirstElement(region);
  const auto usable =
      static_cast<unsigned long>(reinterpret_cast<char*>(region) + region->_bytes - _slabCursor);
  _slabEnd = _slabCursor + roundDown(usable);
  _nextSlabBytes = std::min(2 * _nextSlabBytes, LargestSlabBytes);
}

VakMemory::Region* VakMemory::obtainRegion(unsigned long bytes) {
  if (_regions != nullptr) _highWater = getHighWater();
  auto* region = ::new (VakSlabCache::Take(bytes)) Region{_regions, bytes};
  VakPoison(region + 1, bytes - sizeof(Region));
  _regions = region;
  _bytesObtained += static_cast<long>(bytes);
  return region;
}

char* VakMemory::FirstElement(Region* region) {
  return reinterpret_cast<char*>(roundUp(reinterpret_cast<std::uintptr_t>(region + 1)));
}

void VakMemory::ThrowTooLarge() { throw std::bad_alloc(); }
