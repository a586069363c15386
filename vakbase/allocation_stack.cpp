// Chunks of a stack of memory.
#include "vakbase/allocation_stack.h"

#include <algorithm>
#include <limits>
#include <new>

#include "vakbase/poison.h"

namespace {

/// Bytes of the first chunk and the bound that doubling stops at; a chunk for a larger block is as
/// large as the block needs.
constexpr unsigned long FirstChunkBytes = 4 * 1024;
constexpr unsigned long LargestChunkBytes = 1024 * 1024;

constexpr unsigned long Alignment = 16;

/// Sizes from here on cannot be served, and rounding them up could overflow.
constexpr unsigned long TooLarge = std::numeric_limits<long>::max() / 2;

constexpr unsigned long roundUp(unsigned long size) {
  return (size + Alignment - 1) / Alignment * Alignment;
}

}  // namespace

/// Heads the memory of a chunk; blocks lie between its end and `_top`.
struct alignas(Alignment) VakAllocationStack::Chunk {
  Chunk* _below;  ///< The chunk that was filled before this one; null at the lowest.
  Chunk* _above;  ///< The chunk that is filled after this one; null at the highest.
  char* _top;     ///< End of the newest block, start of what is free.
  char* _end;     ///< End of the chunk.
  long _blocks;   ///< Blocks taken and not given back; with none `_top` is the start.
};

VakAllocationStack::~VakAllocationStack() {
  if (_current != nullptr) releaseAbove();
  while (_current != nullptr) {
    Chunk* below = _current->_below;
    VakUnpoison(_current,
                static_cast<unsigned long>(_current->_end - reinterpret_cast<char*>(_current)));
    ::operator delete(_current);
    _current = below;
  }
}

void* VakAllocationStack::allocate(unsigned long size) {
  if (size == 0) return nullptr;
  if (size >= TooLarge) throw std::bad_alloc();
  const unsigned long bytes = roundUp(size);
  if (_current == nullptr || bytes > static_cast<unsigned long>(_current->_end - _current->_top)) {
    addChunk(bytes);
  }
  char* block = _current->_top;
  VakUnpoison(block, size);
  _current->_top += bytes;
  ++_current->_blocks;
  _bytesInUse += static_cast<long>(bytes);
  return block;
}

void VakAllocationStack::free(void* block, unsigned long size) {
  if (block == nullptr || size == 0 || size >= TooLarge) return;
  const unsigned long bytes = roundUp(size);
  char* start = static_cast<char*>(block);
  for (Chunk* chunk = _current; chunk != nullptr; chunk = chunk->_below) {
    if (start < GetStart(chunk) || start >= chunk->_top) continue;
    if (bytes > static_cast<unsigned long>(chunk->_top - start)) return;
    GiveBack(chunk, start, bytes);
    _bytesInUse -= static_cast<long>(bytes);
    stepDown();
    return;
  }
}

long VakAllocationStack::getMemoryUsage() const { return _bytesInUse; }

long VakAllocationStack::getTotalMemoryUsage() const { return _bytesObtained; }

char* VakAllocationStack::GetStart(Chunk* chunk) { return reinterpret_cast<char*>(chunk + 1); }

/// Takes a block out of its chunk: the newest lowers the top, any other is only counted.
void VakAllocationStack::GiveBack(Chunk* chunk, char* block, unsigned long bytes) {
  VakTouch(block);
  VakPoison(block, bytes);
  --chunk->_blocks;
  if (chunk->_blocks == 0) {
    chunk->_top = GetStart(chunk);
  } else if (block + bytes == chunk->_top) {
    chunk->_top = block;
  }
}

/// Makes a chunk with room for `bytes` current: the one above, if it is there and large enough.
void VakAllocationStack::addChunk(unsigned long bytes) {
  if (_current != nullptr && _current->_above != nullptr) {
    Chunk* above = _current->_above;
    if (bytes <= static_cast<unsigned long>(above->_end - above->_top)) {
      _current = above;
      return;
    }
  }
  unsigned long chunkBytes = FirstChunkBytes;
  if (_current != nullptr) {
    const auto last =
        static_cast<unsigned long>(_current->_end - reinterpret_cast<char*>(_current));
    chunkBytes = std::min(2 * last, LargestChunkBytes);
  }
  chunkBytes = std::max(chunkBytes, bytes + sizeof(Chunk));
  void* memory = ::operator new(chunkBytes);
  auto* chunk = ::new (memory) Chunk{_current, nullptr, nullptr, nullptr, 0};
  chunk->_top = GetStart(chunk);
  chunk->_end = static_cast<char*>(memory) + chunkBytes;
  VakPoison(chunk->_top, static_cast<unsigned long>(chunk->_end - chunk->_top));
  _bytesObtained += static_cast<long>(chunkBytes);
  if (_current != nullptr) {
    releaseAbove();
    _current->_above = chunk;
  }
  _current = chunk;
}

/// Releases the empty chunk above the current one, if there is one.
void VakAllocationStack::releaseAbove() {
  Chunk* above = _current->_above;
  if (above == nullptr) return;
  const long bytes = above->_end - reinterpret_cast<char*>(above);
  VakUnpoison(above, static_cast<unsigned long>(bytes));
  ::operator delete(above);
  _bytesObtained -= bytes;
  _current->_above = nullptr;
}

/// Leaves empty chunks for the one below; of the chunks left, the lowest stays.
void VakAllocationStack::stepDown() {
  while (_current->_blocks == 0 && _current->_below != nullptr) {
    releaseAbove();
    _current = _current->_below;
  }
}

std::string VakAllocationStack::check() const {
  if (_current == nullptr)
    return _bytesInUse == 0 && _bytesObtained == 0 ? "" : "bytes without a chunk";
  if (_current->_blocks == 0 && _current->_below != nullptr) return "the current chunk is empty";
  const Chunk* above = _current->_above;
  if (above != nullptr && (above->_blocks != 0 || above->_above != nullptr)) {
    return "more than an empty chunk stands above the current one";
  }
  long obtained = 0;
  long inUse = 0;
  for (Chunk* chunk = above != nullptr ? _current->_above : _current; chunk != nullptr;
       chunk = chunk->_below) {
    obtained += chunk->_end - reinterpret_cast<char*>(chunk);
    inUse += chunk->_top - GetStart(chunk);
    if (chunk->_top > chunk->_end) return "blocks reach beyond the end of a chunk";
    if (chunk->_blocks < 0) return "more blocks were given back than taken";
    if (chunk->_blocks == 0 && chunk->_top != GetStart(chunk))
      return "a chunk without blocks is not empty";
    if (chunk->_below != nullptr && chunk->_below->_above != chunk)
      return "a chunk is linked one way";
  }
  if (obtained != _bytesObtained) return "the chunks are not the bytes obtained";
  return _bytesInUse <= inUse ? "" : "more bytes are in use than were taken";
}
