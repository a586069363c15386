#pragma once

// A memory manager over an allocation stack, for temporary work.

#include "vakenv/fwd.h"
#include "vakenv/memory/gen_alloc.h"

/// Serves memory from an allocation stack, to be given back in the reverse order of taking.
///
/// It owns neither the stack nor the symbol table and belongs to no environment: VakGetEnv of it is
/// null. One thread at a time.
///
/// Threads: confined.
/// Phases: any, as long as its stack lives.
/// Gives back: free takes back what alloc gave; the stack's end takes the rest.
class VakStackGenAlloc : public VakGenAlloc {
  VAK_RTTI(VakStackGenAlloc, VakGenAlloc);

  /// `symbolTable` may be null as long as intern() is not called.
  VakStackGenAlloc(VakAllocationStack* allocationStack, VakSymbolTable* symbolTable);
  ~VakStackGenAlloc() noexcept(false) override;

  [[nodiscard]] void* alloc(unsigned long size) const override;
  /// Ignores a null pointer and a zero size.
  void free(void* p, unsigned long size) const override;
  /// Does nothing.
  void saveValue(void** address) const override;
  void saveValue(long* address) const override;
  void saveValue(double* address) const override;
  /// The name stored in the symbol that the symbol table makes for `text`; null for null.
  [[nodiscard]] const char* intern(const char* text) const override;

  VakAllocationStack* stack;  ///< Where the memory comes from; not owned.
  VakSymbolTable* symbols;    ///< Where interned texts live; not owned.
};
