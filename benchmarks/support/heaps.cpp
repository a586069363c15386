// Finds the heaps of others.
#include "benchmarks/support/heaps.h"

#include <dlfcn.h>

#include <initializer_list>

VakLoadedHeap VakMimalloc;
VakLoadedHeap VakJemalloc;
VakLoadedHeap VakTcmalloc;
VakLoadedArena VakMimallocArena;

namespace {

void* open(std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (void* library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL); library != nullptr) return library;
  }
  return nullptr;
}

template <class Function>
Function find(void* library, const char* name) {
  return library == nullptr ? nullptr : reinterpret_cast<Function>(::dlsym(library, name));
}

using Take = void* (*)(std::size_t);
using GiveBack = void (*)(void*, std::size_t);

// jemalloc's sized deallocation takes flags as well.
void (*giveBackToJemalloc)(void* block, std::size_t bytes, int flags);
void giveBackWithoutFlags(void* block, std::size_t bytes) { giveBackToJemalloc(block, bytes, 0); }

}  // namespace

// Each heap is given its blocks back with their size, which is the fastest way it offers and what
// compilers use for objects.
void VakLoadHeaps() {
  void* mimalloc = open({"libmimalloc.so.2.0", "libmimalloc.so.2", "libmimalloc.so"});
  VakMimalloc = {find<Take>(mimalloc, "mi_malloc"), find<GiveBack>(mimalloc, "mi_free_size")};
  VakMimallocArena = {
      find<void* (*)()>(mimalloc, "mi_heap_new"),
      find<void* (*)(void*, std::size_t)>(mimalloc, "mi_heap_malloc"),
      find<void (*)(void*)>(mimalloc, "mi_heap_destroy"),
  };
  void* jemalloc = open({"libjemalloc.so.2"});
  giveBackToJemalloc = find<void (*)(void*, std::size_t, int)>(jemalloc, "sdallocx");
  VakJemalloc = {find<Take>(jemalloc, "malloc"),
                 giveBackToJemalloc == nullptr ? nullptr : giveBackWithoutFlags};
  void* tcmalloc = open({"libtcmalloc_minimal.so.4", "libtcmalloc.so.4"});
  VakTcmalloc = {find<Take>(tcmalloc, "tc_malloc"), find<GiveBack>(tcmalloc, "tc_free_sized")};
}
