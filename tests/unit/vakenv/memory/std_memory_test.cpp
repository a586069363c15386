// Standard containers in the memory of an environment.

#include "vakenv/memory/std_memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <list>
#include <map>
#include <memory_resource>
#include <string>
#include <unordered_map>
#include <vector>

#include "tests/support/checking_allocator.h"
#include "tests/support/displayed.h"
#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/memory/memory_resource.h"
#include "vakenv/memory/std_allocator.h"
#include "vakenv/types/exceptions.h"
#include "vaksupport/stack_gen_alloc.h"

namespace {

struct alignas(16) Pair {
  double a;
  double b;
};
struct alignas(16) OddPair {
  double a[3];
};
struct alignas(64) Line {
  char bytes[64];
};

bool isAligned(const void* p, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(p) % alignment == 0;
}

TEST(StdMemory, IsAlignedAsAskedForAndGivenBackWithItsSize) {
  const VakCheckingAllocator manager;
  const VakStdMemory memory(const_cast<VakCheckingAllocator*>(&manager));
  for (std::size_t alignment = 1; alignment <= 4096; alignment *= 2) {
    for (std::size_t bytes : {0, 1, 7, 8, 9, 15, 16, 17, 24, 40, 64, 100, 1000, 5000}) {
      void* p = memory.allocate(bytes, alignment);
      ASSERT_NE(p, nullptr);
      EXPECT_TRUE(isAligned(p, alignment)) << bytes << " bytes, alignment " << alignment;
      std::memset(p, 0xAB, bytes);
      memory.deallocate(p, bytes, alignment);
    }
  }
  EXPECT_EQ(manager.ledger.mismatches, 0);
  EXPECT_EQ(manager.ledger.countBlocks(), 0);
}

TEST(StdMemory, IsAlignedInThePoolAmongBlocksOfOtherAlignments) {
  VakScopedEnv scope;
  const VakInt before = scope->getMemoryUsage();
  const VakStdMemory memory(scope.allocator());
  struct Block {
    void* p;
    std::size_t bytes;
    std::size_t alignment;
  };
  std::vector<Block> blocks;
  for (std::size_t i = 0; i < 2000; ++i) {
    const std::size_t alignment = std::size_t{1} << (i % 9);
    const std::size_t bytes = (i * 37) % 300;
    void* p = memory.allocate(bytes, alignment);
    ASSERT_TRUE(isAligned(p, alignment));
    std::memset(p, static_cast<int>(i), bytes);
    blocks.push_back({p, bytes, alignment});
  }
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const auto* bytes = static_cast<const unsigned char*>(blocks[i].p);
    for (std::size_t k = 0; k < blocks[i].bytes; ++k) {
      ASSERT_EQ(bytes[k], static_cast<unsigned char>(i));
    }
    memory.deallocate(blocks[i].p, blocks[i].bytes, blocks[i].alignment);
  }
  EXPECT_EQ(scope->getMemoryUsage(), before);
  EXPECT_EQ(scope->_memory.check({scope->_termAllocator}), "");
}

TEST(StdMemory, RefusesSizesThatNoMemoryHas) {
  VakScopedEnv scope;
  const VakStdMemory memory(scope.allocator());
  const VakInt before = scope->getMemoryUsage();
  const std::size_t most = std::numeric_limits<std::size_t>::max();
  for (std::size_t bytes : {most, most - 15, most / 2, most / 4}) {
    for (std::size_t alignment : {8, 16, 64}) {
      EXPECT_THROW((void)memory.allocate(bytes, alignment), std::bad_alloc);
    }
  }
  EXPECT_EQ(scope->getMemoryUsage(), before);
}

TEST(StdMemory, RefusesEmptyHandles) {
  const std::string text = "VakMemoryManager: Using empty handle";
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([] { VakStdMemory m{VakMemoryManager()}; }),
            text);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([] { VakMemoryResource m{VakMemoryManager()}; }),
            text);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>(
                [] { VakStdAllocator<int> a{VakEnv(static_cast<VakEnvI*>(nullptr))}; }),
            "VakEnv: Using empty handle");
}

TEST(StdMemory, EqualsThatOfTheSameManager) {
  VakScopedEnv a;
  VakScopedEnv b;
  EXPECT_EQ(VakStdMemory(a.allocator()), VakStdMemory(a.allocator()));
  EXPECT_NE(VakStdMemory(a.allocator()), VakStdMemory(b.allocator()));
  EXPECT_TRUE(VakStdAllocator<int>(a.env) == VakStdAllocator<double>(a.env));
  EXPECT_TRUE(VakStdAllocator<int>(a.env) != VakStdAllocator<double>(b.env));
}

TEST(StdMemory, WorksOnAManagerOfNoEnvironment) {
  VakAllocationStack stack;
  VakStackGenAlloc manager(&stack, nullptr);
  {
    std::vector<Line, VakStdAllocator<Line>> lines{VakMemoryManager(&manager)};
    lines.resize(3);
    EXPECT_TRUE(isAligned(lines.data(), alignof(Line)));
    EXPECT_GT(stack.getMemoryUsage(), 0);
  }
  EXPECT_EQ(stack.getMemoryUsage(), 0);
}

// ---- Containers ---------------------------------------------------------------------------------

template <class Container>
void fillPairs(Container& container) {
  for (int i = 0; i < 1000; ++i) container.push_back({});
  for (const auto& element : container)
    EXPECT_TRUE(isAligned(&element, alignof(decltype(element))));
}

TEST(StdAllocator, KeepsContainersOfAllSortsInTheEnvironment) {
  VakScopedEnv scope;
  const VakInt before = scope->getMemoryUsage();
  {
    VakVector<Pair> pairs(scope.env);
    VakVector<OddPair> oddPairs(scope.env);
    std::list<Line, VakStdAllocator<Line>> lines(scope.env);
    fillPairs(pairs);
    fillPairs(oddPairs);
    fillPairs(lines);
    using Entry = std::pair<const int, double>;
    std::map<int, double, std::less<int>, VakStdAllocator<Entry>> map{
        VakStdAllocator<Entry>(scope.env)};
    std::unordered_map<int, double, std::hash<int>, std::equal_to<int>, VakStdAllocator<Entry>>
        hash{VakStdAllocator<Entry>(scope.env)};
    VakString text("a text that is longer than what a string holds itself", scope.env);
    for (int i = 0; i < 1000; ++i) map[i] = hash[i] = i;
    EXPECT_EQ(map.at(77), 77);
    EXPECT_EQ(hash.at(77), 77);
    EXPECT_GE(scope->getMemoryUsage() - before,
              static_cast<VakInt>(1000 * (sizeof(Pair) + sizeof(OddPair) + sizeof(Line))));
  }
  EXPECT_EQ(scope->getMemoryUsage(), before);
}

TEST(StdAllocator, GoesWithTheElementsThatAreMovedOrSwapped) {
  VakScopedEnv a;
  VakScopedEnv b;
  VakVector<int> inA({1, 2, 3}, a.env);
  VakVector<int> inB({4, 5}, b.env);
  const int* elements = inA.data();
  inB = std::move(inA);
  EXPECT_EQ(inB.data(), elements);
  EXPECT_EQ(inB.get_allocator().getMemoryManager(), VakMemoryManager(a.allocator()));
  VakVector<int> other({6}, b.env);
  inB.swap(other);
  EXPECT_EQ(other.data(), elements);
  EXPECT_EQ(inB.get_allocator().getMemoryManager(), VakMemoryManager(b.allocator()));
}

TEST(StdAllocator, StaysWithTheTargetOfACopy) {
  VakScopedEnv a;
  VakScopedEnv b;
  const VakVector<int> inA({1, 2, 3}, a.env);
  VakVector<int> inB(b.env);
  inB = inA;
  EXPECT_EQ(inB, inA);
  EXPECT_EQ(inB.get_allocator().getMemoryManager(), VakMemoryManager(b.allocator()));
  EXPECT_EQ(VakVector<int>(inA).get_allocator(), inA.get_allocator());
}

TEST(StdAllocator, RefusesMoreElementsThanMemoryHas) {
  VakScopedEnv scope;
  VakStdAllocator<double> allocator(scope.env);
  EXPECT_THROW((void)allocator.allocate(std::numeric_limits<std::size_t>::max() / 4),
               std::bad_array_new_length);
}

TEST(StdAllocator, LosesNothingWhenMemoryRunsOut) {
  VakCheckingAllocator manager;
  VakVector<int> numbers({1, 2, 3}, VakMemoryManager(&manager));
  manager.ledger.failAt = manager.ledger.requests + 1;
  EXPECT_THROW(numbers.reserve(1000), std::bad_alloc);
  EXPECT_EQ(numbers, VakVector<int>({1, 2, 3}, VakMemoryManager(&manager)));
}

TEST(MemoryResource, ServesPolymorphicContainers) {
  VakScopedEnv scope;
  const VakInt before = scope->getMemoryUsage();
  VakMemoryResource resource(scope.env);
  {
    std::pmr::vector<Line> lines(&resource);
    std::pmr::map<std::pmr::string, int> map(&resource);
    fillPairs(lines);
    map["a name that is longer than what a string holds itself"] = 1;
    EXPECT_EQ(map.begin()->first.get_allocator().resource(), &resource);
    EXPECT_GT(scope->getMemoryUsage(), before + static_cast<VakInt>(1000 * sizeof(Line)));
  }
  EXPECT_EQ(scope->getMemoryUsage(), before);
}

TEST(MemoryResource, EqualsThoseOfTheSameManagerOnly) {
  VakScopedEnv a;
  VakScopedEnv b;
  const VakMemoryResource one(a.env);
  const VakMemoryResource two(VakMemoryManager(a.allocator()));
  const VakMemoryResource other(b.env);
  EXPECT_TRUE(one == two);
  EXPECT_FALSE(one == other);
  EXPECT_FALSE(one == *std::pmr::new_delete_resource());
  EXPECT_EQ(one.getMemoryManager(), VakMemoryManager(a.allocator()));
}

// ---- Containers that outlive the environment ----------------------------------------------------

#ifdef NDEBUG
TEST(StdAllocator, GivesNothingBackToAnEnvironmentThatHasEnded) {
  VakScopedEnv scope;
  const VakScopedEnv next;
  auto numbers = std::make_unique<VakVector<int>>(3, 7, scope.env);
  VakMemoryResource resource(scope.env);
  auto texts = std::make_unique<std::pmr::vector<int>>(3, 7, &resource);
  const VakInt before = next->getMemoryUsage();
  scope.env.end();
  numbers.reset();
  texts.reset();
  EXPECT_EQ(next->getMemoryUsage(), before);
}
#else
TEST(StdAllocatorDeathTest, StopsAtAContainerThatOutlivesItsEnvironment) {
  EXPECT_DEATH(
      {
        VakEnv env;
        VakVector<int> numbers(3, 7, env);
        env.end();
      },
      "a container outlived its environment");
}
#endif

}  // namespace
