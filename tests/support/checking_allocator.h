#pragma once

// A memory manager of no environment that checks the size of every block that comes back.

#include <cstdlib>
#include <set>
#include <string>

#include "tests/support/block_ledger.h"
#include "vakenv/memory/gen_alloc.h"

/// Serves from the heap; keeps one copy of each interned text.
class VakCheckingAllocator : public VakGenAlloc {
  VAK_RTTI(VakCheckingAllocator, VakGenAlloc);

  /// Throws nothing, so that a test fixture can hold an allocator.
  ~VakCheckingAllocator() noexcept override {
    for (const auto& [block, size] : ledger.blocks()) std::free(block);
  }

  /// Not inlined: where GCC sees the malloc together with a `delete`, it takes them for a mismatch.
  [[nodiscard, gnu::noinline]] void* alloc(unsigned long size) const override {
    ledger.request();
    void* block = std::malloc(size);
    ledger.take(block, size);
    return block;
  }
  void free(void* p, unsigned long size) const override {
    if (p != nullptr && ledger.giveBack(p, size)) std::free(p);
  }
  void saveValue(void** /*address*/) const override {}
  void saveValue(long* /*address*/) const override {}
  void saveValue(double* /*address*/) const override {}
  [[nodiscard]] const char* intern(const char* text) const override {
    return text == nullptr ? nullptr : _texts.insert(text).first->c_str();
  }

  mutable VakBlockLedger ledger;

 private:
  mutable std::set<std::string> _texts;
};
