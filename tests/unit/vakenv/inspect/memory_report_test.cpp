#include "vakenv/inspect/memory_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iomanip>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/arrays.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/linear_term.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Mortal : public VakDestroyableI {
  VAK_RTTI(Mortal, VakDestroyableI);
  using VakDestroyableI::VakDestroyableI;
};

VakMemoryReport::SizeClass classOf(const VakMemoryReport& report, VakInt elementSize) {
  for (const auto& c : report.classes) {
    if (c.elementSize == elementSize) return c;
  }
  return {elementSize};
}

VakMemoryReport::Type typeOf(const std::vector<VakMemoryReport::Type>& types,
                             const std::string& name) {
  for (const auto& type : types) {
    if (type.name == name) return type;
  }
  return {name};
}

/// Tests that hold with pooling and without.
class VakMemoryReportTest : public testing::TestWithParam<bool> {
 protected:
  VakMemoryReportTest() {
    GetParam() ? VakUsePooledMemory() : VakUseUnpooledMemory();
    scoped.emplace();
    env = scoped->impl();
  }
  ~VakMemoryReportTest() override { scoped.reset(); }
  [[nodiscard]] VakMemoryReport report() const { return VakMemoryReport(scoped->env); }

  VakTestScript script;
  std::optional<VakScopedEnv> scoped;
  VakEnvI* env = nullptr;
};
INSTANTIATE_TEST_SUITE_P(, VakMemoryReportTest, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Pooled" : "NotPooled"; });

TEST_P(VakMemoryReportTest, SaysWhatTheEnvironmentSaysInTotal) {
  const VakMemoryReport now = report();
  EXPECT_EQ(now.isPooled, GetParam());
  EXPECT_EQ(now.isChecked, VakChecksMemory);
  EXPECT_EQ(now.inUse, env->getMemoryUsage());
  EXPECT_EQ(now.obtained, env->getTotalMemoryUsage());
  if (!GetParam()) {
    EXPECT_EQ(now.highWater, now.inUse);
  }
  EXPECT_GE(now.highWater, now.inUse);
  EXPECT_LE(now.highWater, now.obtained);
}

TEST_P(VakMemoryReportTest, AddsUpToWhatIsInUse) {
  for (int i = 0; i < 300; ++i) static_cast<void>(env->newTerm(nullptr, 1));
  VakNumArray array(scoped->env, 1000);
  const VakMemoryReport now = report();
  VakInt bytes = now.terms.live * now.terms.elementSize;
  for (const auto& c : now.classes) {
    bytes += c.live * c.elementSize;
    EXPECT_EQ(c.wasted, c.free * c.elementSize);
    EXPECT_GE(c.peak, c.live);
    if (!now.isPooled) continue;
    EXPECT_EQ(c.live + c.free, c.elements);
    EXPECT_LE(c.peak, c.elements);
    EXPECT_GE(c.blocks, 1);
  }
  EXPECT_EQ(bytes, now.inUse);
}

TEST_P(VakMemoryReportTest, TakesNoMemoryFromTheEnvironment) {
  const VakMemoryReport before = report();
  EXPECT_EQ(report(), before);
}

TEST_P(VakMemoryReportTest, CountsElementsOfAClass) {
  std::vector<void*> blocks;
  for (int i = 0; i < 100; ++i) blocks.push_back(env->allocate(700));
  const auto at100 = classOf(report(), 768);
  EXPECT_EQ(at100.live, 100);
  EXPECT_EQ(at100.elements, GetParam() ? at100.live + at100.free : 0);
  for (int i = 0; i < 60; ++i) {
    env->giveBack(blocks.back(), 700);
    blocks.pop_back();
  }
  const auto at40 = classOf(report(), 768);
  EXPECT_EQ(at40.live, 40);
  EXPECT_EQ(at40.elements, GetParam() ? at100.elements : 0);
  for (void* block : blocks) env->giveBack(block, 700);
}

TEST(VakMemoryReportOfPools, KnowsThePeakToTheMomentOfTheNewestBlock) {
  VakUsePooledMemory();
  VakScopedEnv scoped;
  std::vector<void*> blocks;
  VakInt atNewestBlock = 0;
  VakInt lastBlocks = 0;
  for (int i = 0; i < 1000; ++i) {
    blocks.push_back(scoped->allocate(40));
    const auto now = classOf(VakMemoryReport(scoped.env), 40);
    EXPECT_EQ(now.peak, now.live) << "while it only grows";
    if (now.blocks != lastBlocks) atNewestBlock = now.live;
    lastBlocks = now.blocks;
  }
  for (void* block : blocks) scoped->giveBack(block, 40);
  const auto after = classOf(VakMemoryReport(scoped.env), 40);
  EXPECT_EQ(after.live, 0);
  EXPECT_EQ(after.peak, atNewestBlock);
  EXPECT_GE(after.elements, 1000);
}

TEST(VakMemoryReportOfPools, KnowsTheHighWaterToTheMomentOfTheNewestRegion) {
  VakUsePooledMemory();
  VakScopedEnv scoped;
  void* large = scoped->allocate(1 << 20);
  const VakInt before = scoped->getMemoryUsage();
  void* larger = scoped->allocate(2 << 20);
  scoped->giveBack(large, 1 << 20);
  scoped->giveBack(larger, 2 << 20);
  const VakMemoryReport now(scoped.env);
  EXPECT_EQ(now.highWater, before);
  EXPECT_LT(now.inUse, before);
}

TEST_P(VakMemoryReportTest, CountsRegisteredObjectsByType) {
  VakMakeNode(env, script, "A");
  auto* b = VakMakeNode(env, script, "B");
  VakCreate<VakTestVar>(env);
  VakCreate<Mortal>(env);
  VakMemoryReport now = report();
  const VakInt nodeBytes = VakMemory::getElementSize(VakMemory::getIndex(sizeof(VakTestNode)));
  EXPECT_EQ(typeOf(now.types, "VakTestNode"),
            (VakMemoryReport::Type{"VakTestNode", 2, 2 * nodeBytes}));
  const VakInt varBytes = VakMemory::getElementSize(VakMemory::getIndex(sizeof(VakTestVar)));
  EXPECT_EQ(typeOf(now.types, "VakTestVar"), (VakMemoryReport::Type{"VakTestVar", 1, varBytes}));
  static_assert(sizeof(Mortal) == 16);
  const std::string mortal = "(anonymous namespace)::Mortal";
  EXPECT_EQ(typeOf(now.types, mortal), (VakMemoryReport::Type{mortal, 1, 16}));
  EXPECT_EQ(now.types.size(), 3U);
  EXPECT_EQ(now.identifiers.count, 3);
  EXPECT_EQ(now.identifiers.bytes, 256 * 8) << "a slot of 8 bytes for each of the first 256";
  delete b;
  EXPECT_EQ(typeOf(report().types, "VakTestNode").count, 1);
}

TEST_P(VakMemoryReportTest, CountsTerms) {
  for (int i = 0; i < 5; ++i) static_cast<void>(env->newTerm(nullptr, 1));
  const VakMemoryReport now = report();
  EXPECT_EQ(now.terms.elementSize, 24);
  EXPECT_EQ(now.terms.live, 5);
  EXPECT_EQ(now.terms.blocks, GetParam() ? 1 : 0);
}

TEST_P(VakMemoryReportTest, CountsSymbolsWithAllTheirBytes) {
  const VakMemoryReport before = report();
  for (int i = 0; i < 200; ++i) env->makeSymbol(("symbol " + std::to_string(i)).c_str());
  const VakMemoryReport difference = report() - before;
  EXPECT_EQ(difference.symbols.count, 200);
  EXPECT_EQ(difference.symbols.bytes, difference.inUse);
}

TEST_P(VakMemoryReportTest, SubtractsAnEarlierReport) {
  VakMakeNode(env, script, "A");
  const VakMemoryReport before = report();
  void* block = env->allocate(700);
  const VakMemoryReport difference = report() - before;
  ASSERT_EQ(difference.classes.size(), 1U);
  EXPECT_EQ(difference.classes[0].elementSize, 768);
  EXPECT_EQ(difference.classes[0].live, 1);
  EXPECT_EQ(difference.inUse, 768);
  EXPECT_TRUE(difference.types.empty());
  env->giveBack(block, 700);
  EXPECT_EQ((report() - before).inUse, 0);
  EXPECT_EQ((before - before).classes.size(), 0U);
  EXPECT_EQ((before - report()).inUse, 0);
}

TEST_P(VakMemoryReportTest, CountsArraysWithTheirTablesAndChunks) {
  const VakMemoryReport before = report();
  const auto holds = [&](VakInt arrays) {
    const VakMemoryReport difference = report() - before;
    EXPECT_EQ(difference.arrays.count, arrays);
    EXPECT_EQ(difference.arrays.bytes, difference.inUse);
  };
  VakNumArray array(scoped->env, 100);
  holds(1);
  for (int i = 0; i < 5000; ++i) array.add(i);
  holds(1);
  VakNumArray copy(VakCreate<VakArrayI>(scoped->env.getMemoryManager(), array.getImpl()));
  VakBoolArray other(scoped->env, 70);
  holds(3);
  array.remove(10, 4000);
  array.getImpl()->addArray(copy.getImpl());
  holds(3);
  array.end();
  other.end();
  holds(1);
  copy.end();
  holds(0);
  EXPECT_EQ(report().arrays, before.arrays);
}

TEST_P(VakMemoryReportTest, CountsAnArrayWhileItHasStorage) {
  const VakMemoryReport before = report();
  VakNumArray array(scoped->env, 100);
  array.clear();
  EXPECT_EQ((report() - before).arrays, VakMemoryReport::Amount());
  array.add(1);
  EXPECT_EQ((report() - before).arrays.count, 1);
  EXPECT_EQ((report() - before).arrays.bytes, (report() - before).inUse);
  array.end();
}

TEST_P(VakMemoryReportTest, CountsElementsWithoutBytes) {
  const VakMemoryReport before = report();
  auto* array = VakCreate<VakArrayI>(scoped->env.getMemoryManager(), 10L, 0L);
  array->grow(100);
  EXPECT_EQ((report() - before).arrays.count, 1);
  EXPECT_EQ((report() - before).arrays.bytes, (report() - before).inUse);
  delete array;
  EXPECT_EQ(report().arrays, before.arrays);
}

TEST_P(VakMemoryReportTest, CountsStorageThatAnArrayTakesOver) {
  const VakMemoryReport before = report();
  auto** table = static_cast<char**>(env->allocate(2 * sizeof(char*)));
  table[0] = static_cast<char*>(env->allocate(2 * sizeof(VakNum)));
  table[1] = nullptr;
  EXPECT_EQ((report() - before).arrays.count, 0);
  VakNumArray array(VakCreate<VakArrayI>(scoped->env.getMemoryManager(), 4L, 2L, 1L, 1L,
                                         static_cast<VakInt>(sizeof(VakNum)), table));
  EXPECT_EQ((report() - before).arrays.count, 1);
  EXPECT_EQ((report() - before).arrays.bytes, (report() - before).inUse);
  array.add(3);
  EXPECT_EQ((report() - before).arrays.bytes, (report() - before).inUse);
  array.end();
  EXPECT_EQ(report().arrays, before.arrays);
}

TEST_P(VakMemoryReportTest, LeavesStorageAloneWhoseNumbersDoNotAgree) {
  const VakMemoryReport before = report();
  char* table[1] = {nullptr};
  auto* array = VakCreate<VakArrayI>(scoped->env.getMemoryManager(), 11L, 12L, 13L, 14L, 15L,
                                     static_cast<char**>(table));
  EXPECT_EQ(report().arrays, before.arrays);
  array->_data = nullptr;
  delete array;
  EXPECT_EQ(report().arrays, before.arrays);
}

// Nothing is checked: elements of which no chunk can be made are of no matter without chunks.
TEST_P(VakMemoryReportTest, CountsATableWithoutChunksWhateverTheElements) {
  const VakMemoryReport before = report();
  auto** table = static_cast<char**>(env->allocate(2 * sizeof(char*)));
  table[0] = table[1] = nullptr;
  VakArrayI* array = nullptr;
  ASSERT_NO_THROW(
      array = VakCreate<VakArrayI>(scoped->env.getMemoryManager(), 4L, 0L, 1L, 1L, -8L, table));
  EXPECT_EQ((report() - before).arrays.count, 1);
  EXPECT_EQ((report() - before).arrays.bytes, (report() - before).inUse);
  delete array;
  EXPECT_EQ(report().arrays, before.arrays);
}

/// A memory manager that counts what goes through it.
class Detour : public VakTarnAlloc {
  VAK_RTTI(Detour, VakTarnAlloc);
  using VakTarnAlloc::VakTarnAlloc;
  [[nodiscard]] void* alloc(unsigned long size) const override {
    ++taken;
    return VakTarnAlloc::alloc(size);
  }
  void free(void* p, unsigned long size) const override {
    ++given;
    VakTarnAlloc::free(p, size);
  }
  mutable int taken = 0;
  mutable int given = 0;
};

TEST_P(VakMemoryReportTest, LeavesArraysOfOtherMemoryManagersToThem) {
  const VakMemoryReport before = report();
  const Detour manager(env);
  VakNumArray array(VakMemoryManager(const_cast<Detour*>(&manager)), 100);
  EXPECT_EQ(manager.taken, 9) << "the object, the table and seven chunks of sixteen";
  EXPECT_EQ((report() - before).arrays, VakMemoryReport::Amount());
  array.end();
  EXPECT_EQ(manager.given, 9);
  EXPECT_EQ(report().arrays, before.arrays);
}

TEST_P(VakMemoryReportTest, CountsWhatIsLeftOfArraysThatRanOutOfMemory) {
  const VakMemoryReport before = report();
  long failures = VakFailEachNew(
      [&] {
        VakNumArray array(scoped->env, 10000);
        try {
          array.getImpl()->grow(20000);
        } catch (const std::bad_alloc&) {
          array.end();
          throw;
        }
        array.end();
      },
      [&](const std::exception_ptr&) { EXPECT_EQ(report().arrays, before.arrays); });
  VakNumArray array(scoped->env, 100);
  failures += VakFailEachNew([&] { array.getImpl()->grow(100000); },
                             [&](const std::exception_ptr&) {
                               const VakMemoryReport difference = report() - before;
                               if (array.getImpl()->_data == nullptr) {
                                 EXPECT_EQ(difference.arrays, VakMemoryReport::Amount());
                               } else {
                                 EXPECT_EQ(difference.arrays.count, 1);
                                 EXPECT_EQ(difference.arrays.bytes, difference.inUse);
                               }
                             });
  EXPECT_GT(failures, 2);
  EXPECT_EQ((report() - before).arrays.bytes, (report() - before).inUse);
  array.end();
  EXPECT_EQ(report().arrays, before.arrays);
}

TEST_P(VakMemoryReportTest, KnowsEverythingThatWasMadeInTheCheckedBuildOnly) {
  const VakMemoryReport before = report();
  VakNumArray array(scoped->env, 100);
  const VakMemoryReport difference = report() - before;
  EXPECT_EQ(typeOf(difference.made, "VakArrayI").count, VakChecksMemory ? 1 : 0);
  EXPECT_EQ(difference.made.empty(), !VakChecksMemory);
  array.end();
}

TEST(VakMemoryReport, OfAnEmptyHandleThrows) {
  try {
    const VakMemoryReport report{VakEnv(static_cast<VakEnvI*>(nullptr))};
    FAIL();
  } catch (const VakEmptyHandleException& e) {
    EXPECT_STREQ(e.getMessage(), "VakEnv: Using empty handle");
  }
}

// A report with a number of every sort.
VakMemoryReport sample() {
  VakMemoryReport report;
  report.isPooled = true;
  report.classes = {{48, 2, 15, 10, 5, 12, 240}};
  report.terms = {24, 1, 10, 4, 6, 5, 144};
  report.types = {{"Odd\"Type", 3, 144}};
  report.identifiers = {3, 2048};
  report.symbols = {1, 32};
  report.arrays = {2, 300};
  report.inUse = 576;
  report.obtained = 4096;
  report.highWater = 700;
  return report;
}

TEST(VakMemoryReport, IsWrittenAsATable) {
  std::ostringstream out;
  out << sample();
  EXPECT_EQ(out.str(),
            "size class                                blocks    elements        live        free"
            "        peak      wasted\n"
            "  48 bytes                                     2          15          10           5"
            "          12         240\n"
            "  terms, 24 bytes                              1          10           4           6"
            "           5         144\n"
            "registered objects                         count       bytes\n"
            "  Odd\"Type                                     3         144\n"
            "held by the environment                    count       bytes\n"
            "  identifiers                                  3        2048\n"
            "  symbols                                      1          32\n"
            "  arrays                                       2         300\n"
            "total                                      bytes\n"
            "  in use                                     576\n"
            "  obtained                                  4096\n"
            "  high water, at least                       700\n");
}

TEST(VakMemoryReport, ThrowsInsteadOfLeavingOutLinesThatThereIsNoMemoryFor) {
  const VakMemoryReport report = sample();
  std::ostringstream expected;
  expected << report;
  std::string text(expected.str().size(), ' ');
  const long failures = VakFailEachNew(
      [&] {
        std::ostringstream out(text);  // Has the room already.
        out.exceptions(std::ios::badbit);
        out << report;
        text = out.str();
      },
      [](const std::exception_ptr& thrown) {
        EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
      });
  EXPECT_GT(failures, 1);
  EXPECT_EQ(text, expected.str());
}

TEST(VakMemoryReport, LeavesTheStreamAsItWas) {
  std::ostringstream out;
  out << std::hex << std::setfill('*');
  out << sample() << std::setw(4) << 255;
  EXPECT_THAT(out.str(), StartsWith("size class       "));
  EXPECT_THAT(out.str(), HasSubstr("700\n**ff"));
}

TEST(VakMemoryReport, IsWrittenAsJson) {
  EXPECT_EQ(
      sample().toJson(),
      R"({"isPooled":true,"isChecked":false,"classes":[{"elementSize":48,"blocks":2,)"
      R"("elements":15,"live":10,"free":5,"peak":12,"wasted":240}],"terms":{"elementSize":24,)"
      R"("blocks":1,"elements":10,"live":4,"free":6,"peak":5,"wasted":144},)"
      R"("types":[{"name":"Odd\"Type","count":3,"bytes":144}],)"
      R"("identifiers":{"count":3,"bytes":2048},"symbols":{"count":1,"bytes":32},)"
      R"("arrays":{"count":2,"bytes":300},"made":null,"inUse":576,"obtained":4096,"highWater":700})");
}

TEST(VakMemoryReport, WritesWhatOnlyTheCheckedBuildKnows) {
  VakMemoryReport report = sample();
  report.isChecked = true;
  report.made = {{"VakArrayI", 2, 128}};
  EXPECT_THAT(report.toJson(),
              HasSubstr(R"("arrays":{"count":2,"bytes":300},"made":[{"name":"VakArrayI",)"));
  std::ostringstream out;
  out << report;
  EXPECT_THAT(out.str(),
              HasSubstr("  arrays                                       2         300\n"
                        "everything in use                          count       bytes\n"
                        "  VakArrayI                                    2         128\n"));
}

}  // namespace
