#include "vakenv/memory/std_memory.h"

#include <cassert>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "vakenv/memory/gen_alloc.h"
#include "vakenv/types/exceptions.h"

namespace {

constexpr std::size_t WordAlignment = 8;   // what every block has
constexpr std::size_t PairAlignment = 16;  // what a block of a multiple of so many bytes has
constexpr std::size_t LinkBytes = 8;       // in front of an over-aligned block: where it began

std::size_t roundUp(std::size_t bytes) {
  return (bytes + PairAlignment - 1) / PairAlignment * PairAlignment;
}

// The bytes that are taken for a request; the same when it is given back. A block of no bytes has
// an address, too.
std::size_t bytesTaken(std::size_t bytes, std::size_t alignment) {
  if (alignment <= WordAlignment) return bytes == 0 ? 1 : bytes;
  if (alignment <= PairAlignment) return bytes == 0 ? PairAlignment : roundUp(bytes);
  return roundUp(bytes) + alignment;
}

VakMemoryManager checked(VakMemoryManager manager) {
  if (manager.getImpl() == nullptr) {
    throw VakEmptyHandleException("VakMemoryManager: Using empty handle");
  }
  return manager;
}

}  // namespace

VakStdMemory::VakStdMemory(VakMemoryManager manager)
    : _manager(checked(manager)), _life(VakGetEnv(manager)) {}

void* VakStdMemory::allocate(std::size_t bytes, std::size_t alignment) const {
  assert(!_life.isOver() && "a container asks for memory of an environment that has ended");
  if (bytes > std::numeric_limits<std::size_t>::max() / 2 - alignment) throw std::bad_alloc();
  void* block = _manager.getImpl()->alloc(bytesTaken(bytes, alignment));
  if (alignment <= PairAlignment) return block;
  // The block is aligned to 16 at least, so between it and the next aligned place is room for the
  // link.
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  char* place = static_cast<char*>(block) + (alignment - start % alignment);
  std::memcpy(place - LinkBytes, &block, LinkBytes);
  return place;
}

void VakStdMemory::deallocate(void* p, std::size_t bytes, std::size_t alignment) const noexcept {
  assert(!_life.isOver() && "a container outlived its environment");
  if (_life.isOver()) return;
  void* block = p;
  if (alignment > PairAlignment) {
    std::memcpy(&block, static_cast<char*>(p) - LinkBytes, LinkBytes);
  }
  _manager.getImpl()->free(block, bytesTaken(bytes, alignment));
}
