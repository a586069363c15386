#pragma once

// Memory for temporary work that is given back in the reverse order of taking it.

#include <string>

/// A stack of memory that grows by chunks from the heap.
///
/// Created and ended by whoever needs temporary memory; an allocator over it does not own it.
/// Blocks carry no header and are given back with their size. Not safe for concurrent use.
///
/// Blocks should be given back newest first, which costs a subtraction. Misuse is harmless: a block
/// that is not the newest is only counted, and its memory returns when its chunk has no block left
/// or the stack ends; null, a size of 0, and memory that does not lie in what was taken are
/// ignored. What the stack cannot notice is a block that is given back twice, or with another size,
/// while newer blocks of its chunk live.
///
/// Invariant: `_current` has blocks or is the lowest chunk, and at most one chunk stands above it,
/// kept empty so that work at the edge of a chunk does not go to the heap each time.
///
/// Threads: confined to one thread at a time; several objects are independent of each other.
/// Phases: any: it knows no environment.
/// Gives back: free takes back what alloc gave, with the same size; the stack's end takes the rest.
class VakAllocationStack {
 public:
  VakAllocationStack() noexcept = default;
  VakAllocationStack(const VakAllocationStack&) = delete;
  VakAllocationStack& operator=(const VakAllocationStack&) = delete;

  /// Releases all chunks, whatever is still taken.
  ~VakAllocationStack();

  /// Returns `size` bytes aligned to 16, or null for a size of 0. Throws `std::bad_alloc`, having
  /// changed nothing. Constant time, apart from the heap when the chunk is full.
  [[nodiscard]] void* allocate(unsigned long size);

  /// Gives back what `allocate` returned for `size`.
  void free(void* block, unsigned long size);

  /// Returns the bytes taken and not given back, each block rounded up to a multiple of 16.
  [[nodiscard]] long getMemoryUsage() const;

  /// Returns the bytes obtained from the heap.
  [[nodiscard]] long getTotalMemoryUsage() const;

  /// Returns an empty text if the invariant holds, else what is broken.
  [[nodiscard]] std::string check() const;

 private:
  struct Chunk;

  static char* GetStart(Chunk* chunk);
  static void GiveBack(Chunk* chunk, char* block, unsigned long bytes);

  void addChunk(unsigned long bytes);
  void releaseAbove();
  void stepDown();

  Chunk* _current = nullptr;  ///< Owned; the chunk that serves requests, null before the first.
  long _bytesInUse = 0;       ///< Bytes of blocks taken and not given back, rounded up.
  long _bytesObtained = 0;    ///< Bytes of all chunks.
};
