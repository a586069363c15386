#pragma once

// The heaps that stand beside the pool: the C library's, and those of mimalloc, jemalloc and
// tcmalloc.
//
// All of them are in one process, so that their times are taken under the same conditions. The
// three are loaded privately and called through pointers, like any function of a shared library, so
// none of them replaces the heap of the program.

#include <cstddef>
#include <cstdlib>

/// What of a loaded heap is called; null while its library was not found.
struct VakLoadedHeap {
  void* (*take)(std::size_t bytes) = nullptr;
  void (*giveBack)(void* block, std::size_t bytes) = nullptr;
};

extern VakLoadedHeap VakMimalloc;
extern VakLoadedHeap VakJemalloc;
extern VakLoadedHeap VakTcmalloc;

/// A heap of mimalloc's own that is given back at once; null while its library was not found.
struct VakLoadedArena {
  void* (*make)() = nullptr;
  void* (*take)(void* arena, std::size_t bytes) = nullptr;
  void (*destroy)(void* arena) = nullptr;
};
extern VakLoadedArena VakMimallocArena;

/// Loads what is installed. Called once, before benchmarks are registered.
void VakLoadHeaps();

// Contenders with the operations that the benchmarks use.

struct VakGlibcHeap {
  static bool isThere() { return true; }
  static void* allocate(std::size_t bytes) { return std::malloc(bytes); }
  static void giveBack(void* block, std::size_t) { std::free(block); }
};

template <VakLoadedHeap& heap>
struct VakHeap {
  static bool isThere() { return heap.take != nullptr; }
  static void* allocate(std::size_t bytes) { return heap.take(bytes); }
  static void giveBack(void* block, std::size_t bytes) { heap.giveBack(block, bytes); }
};

using VakMimallocHeap = VakHeap<VakMimalloc>;
using VakJemallocHeap = VakHeap<VakJemalloc>;
using VakTcmallocHeap = VakHeap<VakTcmalloc>;
