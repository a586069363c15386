// A memory manager of no environment that writes down what it hands out and takes back.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "vakenv/memory/gen_alloc.h"

/// Serves from the heap and records every call, as in "alloc 24" and "free 24". Knows whether each
/// block came back with its size.
class VakRecordingAllocator : public VakGenAlloc {
 public:
  ~VakRecordingAllocator() override {
    for (const Block& block : blocks) std::free(block.start);
  }

  [[nodiscard]] void* alloc(unsigned long size) const override {
    calls.push_back("alloc " + std::to_string(size));
    blocks.push_back({std::malloc(size), size});
    return blocks.back().start;
  }
  void free(void* p, unsigned long size) const override {
    calls.push_back("free " + std::to_string(size));
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      if (blocks[i].start != p || blocks[i].size != size) continue;
      std::free(p);
      blocks.erase(blocks.begin() + static_cast<long>(i));
      return;
    }
    isBalanced = false;
  }
  void saveValue(void** /*address*/) const override {}
  void saveValue(long* /*address*/) const override {}
  void saveValue(double* /*address*/) const override {}
  [[nodiscard]] const char* intern(const char* text) const override { return text; }

  struct Block {
    void* start;
    unsigned long size;
  };
  mutable std::vector<std::string> calls;  ///< Calls of alloc and free, in order.
  mutable std::vector<Block> blocks;       ///< What is handed out; released with the allocator.
  mutable bool isBalanced = true;          ///< False once a block came that was not handed out so.
};
