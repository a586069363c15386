// A memory report in the hands of a user who does not trust it: with public headers alone, whatever
// it says is held against what the user did, against its own parts and against other reports.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <locale>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/json_value.h"
#include "vakenv/arrays.h"
#include "vakenv/core/create.h"
#include "vakenv/environment.h"
#include "vakenv/inspect/memory_report.h"
#include "vakenv/properties.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/modelling.h"

namespace {

using SizeClass = VakMemoryReport::SizeClass;
using Type = VakMemoryReport::Type;

/// Every number of a report by a name, so that reports can be added up; what is 0 is left out.
std::map<std::string, VakInt> numbersOf(const VakMemoryReport& report) {
  std::map<std::string, VakInt> numbers = {{"identifiers", report.identifiers.count},
                                           {"identifier bytes", report.identifiers.bytes},
                                           {"symbols", report.symbols.count},
                                           {"symbol bytes", report.symbols.bytes},
                                           {"arrays", report.arrays.count},
                                           {"array bytes", report.arrays.bytes},
                                           {"in use", report.inUse},
                                           {"obtained", report.obtained},
                                           {"high water", report.highWater}};
  const auto addClass = [&](const std::string& name, const SizeClass& c) {
    numbers[name + " blocks"] = c.blocks;
    numbers[name + " elements"] = c.elements;
    numbers[name + " live"] = c.live;
    numbers[name + " free"] = c.free;
    numbers[name + " peak"] = c.peak;
    numbers[name + " wasted"] = c.wasted;
  };
  const auto addTypes = [&](const std::string& kind, const std::vector<Type>& types) {
    for (const Type& type : types) {
      numbers[kind + type.name] = type.count;
      numbers[kind + type.name + " bytes"] = type.bytes;
    }
  };
  for (const SizeClass& c : report.classes) addClass(std::to_string(c.elementSize), c);
  addClass("terms", report.terms);
  addTypes("type ", report.types);
  addTypes("made ", report.made);
  std::erase_if(numbers, [](const auto& number) { return number.second == 0; });
  return numbers;
}

std::map<std::string, VakInt> sum(std::map<std::string, VakInt> a,
                                  const std::map<std::string, VakInt>& b) {
  for (const auto& [name, number] : b) a[name] += number;
  std::erase_if(a, [](const auto& number) { return number.second == 0; });
  return a;
}

VakInt liveIn(const VakMemoryReport& report, VakInt elementSize) {
  for (const SizeClass& c : report.classes) {
    if (c.elementSize == elementSize) return c.live;
  }
  return 0;
}

VakInt bytesOf(const std::vector<Type>& types) {
  VakInt bytes = 0;
  for (const Type& type : types) bytes += type.bytes;
  return bytes;
}

/// What has to hold of every report of an environment.
void expectConsistent(const VakMemoryReport& report) {
  VakInt live = report.terms.live;
  VakInt inUse = report.terms.live * report.terms.elementSize;
  VakInt inBlocks = report.terms.elements * report.terms.elementSize;
  std::vector<SizeClass> all = report.classes;
  all.push_back(report.terms);
  for (const SizeClass& c : all) {
    EXPECT_GE(c.live, 0);
    EXPECT_GE(c.peak, c.live);
    EXPECT_EQ(c.wasted, c.free * c.elementSize);
    EXPECT_EQ(c.elements, report.isPooled ? c.live + c.free : 0);
    if (report.isPooled) {
      EXPECT_LE(c.peak, c.elements);
      // Terms may have moved away from their blocks.
      if (c.elementSize != report.terms.elementSize) {
        EXPECT_LE(c.blocks, c.elements);
      }
    }
  }
  VakInt before = 0;
  for (const SizeClass& c : report.classes) {
    EXPECT_GT(c.elementSize, before) << "by element size, each once";
    before = c.elementSize;
    live += c.live;
    inUse += c.live * c.elementSize;
    inBlocks += c.elements * c.elementSize;
  }
  EXPECT_EQ(inUse, report.inUse);
  EXPECT_LE(inBlocks, report.obtained);
  EXPECT_LE(report.inUse, report.highWater);
  EXPECT_LE(report.highWater, report.obtained);
  EXPECT_LE(bytesOf(report.types), report.inUse);
  EXPECT_LE(report.symbols.bytes, report.inUse);
  EXPECT_LE(report.arrays.bytes, report.inUse);
  EXPECT_TRUE(std::is_sorted(report.types.begin(), report.types.end(),
                             [](const Type& a, const Type& b) { return a.name < b.name; }));
  if (!report.isChecked) return;
  EXPECT_EQ(bytesOf(report.made), report.inUse) << "everything in use was made as something";
  VakInt made = 0;
  for (const Type& type : report.made) made += type.count;
  EXPECT_EQ(made, live);
}

/// Tests that hold with pooling and without.
class MemoryReportAttack : public testing::TestWithParam<bool> {
 protected:
  MemoryReportAttack() {
    GetParam() ? VakUsePooledMemory() : VakUseUnpooledMemory();
    env = VakEnv();
  }
  ~MemoryReportAttack() override {
    EXPECT_EQ(env.check(), "");
    env.end();
  }
  [[nodiscard]] VakMemoryReport report() const { return VakMemoryReport(env); }
  [[nodiscard]] void* take(unsigned long size) const {
    return env.getMemoryManager().getImpl()->alloc(size);
  }
  void giveBack(void* p, unsigned long size) const {
    env.getMemoryManager().getImpl()->free(p, size);
  }

  VakEnv env{static_cast<VakEnvI*>(nullptr)};
};
INSTANTIATE_TEST_SUITE_P(, MemoryReportAttack, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Pooled" : "NotPooled"; });

TEST_P(MemoryReportAttack, AddsUpAfterEveryStepOfARandomLife) {
  std::mt19937 random(20);
  struct Held {
    void* block;
    unsigned long size;
  };
  std::vector<Held> held;
  const VakMemoryReport base = report();
  VakInt largest = base.highWater;
  std::map<VakInt, VakInt> most;  // live elements by element size
  for (const SizeClass& c : base.classes) most[c.elementSize] = c.peak;
  for (int step = 0; step < 1500; ++step) {
    const bool grows = (step / 300) % 2 == 0;
    if (held.empty() || random() % 10 < (grows ? 7U : 3U)) {
      const unsigned long size = 1 + random() % (random() % 20 == 0 ? 40000U : 400U);
      held.push_back({take(size), size});
    } else {
      std::swap(held[random() % held.size()], held.back());
      giveBack(held.back().block, held.back().size);
      held.pop_back();
    }
    const VakMemoryReport now = report();
    expectConsistent(now);
    largest = std::max(largest, now.inUse);
    EXPECT_LE(now.highWater, largest) << "never was so much in use";
    for (const SizeClass& c : now.classes) {
      most[c.elementSize] = std::max(most[c.elementSize], c.live);
      EXPECT_LE(c.peak, most[c.elementSize]) << "never were so many live";
    }
    if (testing::Test::HasFailure()) break;
  }
  EXPECT_EQ(report().inUse - base.inUse, [&] {
    VakInt bytes = 0;
    for (const SizeClass& c : (report() - base).classes) bytes += c.live * c.elementSize;
    return bytes;
  }());
  for (const Held& h : held) giveBack(h.block, h.size);
  EXPECT_EQ(report().inUse, base.inUse);
}

TEST_P(MemoryReportAttack, CountsInTheClassThatHoldsTheSize) {
  for (const unsigned long size : {1UL, 8UL, 9UL, 127UL, 128UL, 129UL, 160UL, 161UL, 1024UL, 1025UL,
                                   4096UL, 32768UL, 100000UL, 1UL << 20}) {
    const VakMemoryReport before = report();
    void* p = take(size);
    const VakMemoryReport difference = report() - before;
    ASSERT_EQ(difference.classes.size(), 1U) << size;
    const SizeClass c = difference.classes[0];
    EXPECT_EQ(c.live, 1);
    EXPECT_GE(c.elementSize, static_cast<VakInt>(size));
    EXPECT_LT(c.elementSize, static_cast<VakInt>(size) + std::max<VakInt>(8, size / 4));
    EXPECT_EQ(difference.inUse, c.elementSize);
    giveBack(p, size);
    EXPECT_EQ(liveIn(report(), c.elementSize), liveIn(before, c.elementSize));
  }
}

TEST_P(MemoryReportAttack, DifferencesOfAChainOfReportsAddUpToTheWhole) {
  const VakMemoryReport first = report();
  VakModel model(env, "m");
  VakNumVar x(env, 0, 40, "x");
  for (int i = 0; i < 50; ++i) model.add(x + i <= 2 * i + 1);
  env.makeSymbol("a symbol");
  const VakMemoryReport second = report();
  expectConsistent(second);
  model.end();
  x.end();
  const VakNumArray array(env, 5000);
  const VakMemoryReport third = report();
  expectConsistent(third);
  EXPECT_EQ(sum(numbersOf(second - first), numbersOf(third - second)), numbersOf(third - first));
  EXPECT_EQ(sum(numbersOf(first), numbersOf(third - first)), numbersOf(third));
  EXPECT_EQ(sum(numbersOf(third), numbersOf(first - third)), numbersOf(first));
  EXPECT_TRUE(numbersOf(third - third).empty());
}

TEST_P(MemoryReportAttack, CountsTheObjectsOfAModelAndForgetsThemWhenTheyEnd) {
  const VakMemoryReport before = report();
  VakModel model(env, "m");
  std::vector<VakNumVar> vars;
  for (int i = 0; i < 30; ++i) vars.emplace_back(env, 0, 1 + i);
  VakConstraint last;
  for (const VakNumVar& v : vars) last = model.add(v + vars[0] <= 7);
  model.maximize(vars[0] + vars[1]);
  const VakMemoryReport built = report();
  expectConsistent(built);
  std::map<std::string, VakInt> counts;
  VakInt objects = 0;
  for (const Type& type : (built - before).types) {
    counts[type.name] = type.count;
    objects += type.count;
    EXPECT_GT(type.bytes, 0) << type.name;
  }
  EXPECT_EQ(counts[vars[0].VakExtractable::getImpl()->getRttiTypeName()], 30);
  EXPECT_EQ(counts[last.VakExtractable::getImpl()->getRttiTypeName()], 30);
  EXPECT_EQ(objects, 30 + 30 + 1 + 1) << "variables, constraints, the objective, the model";
  EXPECT_EQ((built - before).identifiers.count, objects);
  EXPECT_EQ((built - before).terms.live, 1 + 29 * 2 + 2);
  model.end();
  for (VakNumVar& v : vars) v.end();
  const VakMemoryReport after = report();
  expectConsistent(after);
  EXPECT_TRUE((after - before).types.empty());
  EXPECT_EQ((after - before).identifiers.count, 0);
  EXPECT_EQ((after - before).terms.live, 0);
}

class Cache : public VakDestroyableI {
  VAK_RTTI(Cache, VakDestroyableI);
  using VakDestroyableI::VakDestroyableI;
};
namespace other {
class Cache : public VakDestroyableI {
  VAK_RTTI(Cache, VakDestroyableI);
  using VakDestroyableI::VakDestroyableI;
};
}  // namespace other
template <class T>
class Holder : public VakDestroyableI {
  VAK_RTTI(Holder, VakDestroyableI);
  using VakDestroyableI::VakDestroyableI;
  T values[4];
};
class Unstamped : public VakDestroyableI {
 public:
  using VakDestroyableI::VakDestroyableI;
  char room[100];
};

TEST_P(MemoryReportAttack, TellsClassesApartByTheNamesThatAProgramWrites) {
  VakCreate<Cache>(env);
  VakCreate<other::Cache>(env);
  VakCreate<Holder<double>>(env);
  VakCreate<Holder<char>>(env);
  VakCreate<Unstamped>(env);
  const VakInt base = VakDestroyableI::GetExtractableSize();
  EXPECT_EQ(report().types, (std::vector<Type>{
                                {"(anonymous namespace)::Cache", 1, base},
                                {"(anonymous namespace)::Holder<char>", 1, base + 8},
                                {"(anonymous namespace)::Holder<double>", 1, base + 32},
                                {"(anonymous namespace)::Unstamped", 1, base},
                                {"(anonymous namespace)::other::Cache", 1, base},
                            }));
}

TEST_P(MemoryReportAttack, CountsTermsThatWereMadeInAnotherModeThanTheyEnd) {
  for (const VakInt mode : {1, 0}) {
    env.useMTSafeAllocation(mode);
    VakNumVarArray x(env, 100, 0, 1);
    VakModel model(env);
    for (int i = 0; i < 20; ++i) model.add(VakSum(x) <= i);
    env.useMTSafeAllocation(1 - mode);
    expectConsistent(report());
    model.end();
    expectConsistent(report());
    EXPECT_EQ(report().terms.live, 0);
    EXPECT_LT(liveIn(report(), report().terms.elementSize), 10) << "none of the 2000 terms";
    env.useMTSafeAllocation(0);
    VakEndAll(x);
    x.end();
  }
}

TEST_P(MemoryReportAttack, CountsArraysOfEveryKindAndSize) {
  const VakMemoryReport before = report();
  VakInt arrays = 0;
  const auto expectArrays = [&](VakInt change) {
    arrays += change;
    const VakMemoryReport difference = report() - before;
    EXPECT_EQ(difference.arrays.count, arrays);
    EXPECT_EQ(difference.arrays.bytes, difference.inUse);
  };
  for (const VakInt size : {-5, -1, 0, 1, 4, 5, 1000}) {
    VakNumArray numbers(env, size);
    expectArrays(1);
    VakIntArray2 rows(env, size);
    VakNumVarArray variables(env, size);
    VakArray<std::array<char, 100>> texts(env, size);
    expectArrays(3);
    VakNumArray copy(VakCreate<VakArrayI>(env.getMemoryManager(), numbers.getImpl()));
    expectArrays(1);
    copy.add(2);
    copy.append(copy);
    copy.remove(0, copy.getSize());
    expectArrays(0);
    for (VakArrayI* array : {numbers.getImpl(), rows.getImpl(), variables.getImpl(),
                             texts.getImpl(), copy.getImpl()}) {
      delete array;
      expectArrays(-1);
    }
  }
  EXPECT_THROW(static_cast<void>(VakNumVarArray(env, 10, 5, 3)), VakModelError);
  expectArrays(0);
}

/// Of a class of one's own, which removals do not reach when it is made in thread-safe mode.
class Loose : public VakExtractableI {
  VAK_RTTI(Loose, VakExtractableI);
  using VakExtractableI::VakExtractableI;
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<Loose>(env);
  }
};

TEST_P(MemoryReportAttack, NamesObjectsThatRemovalsReachAndCountsTheIdentifiersOfAll) {
  env.useMTSafeAllocation(1);
  auto* loose = VakCreate<Loose>(env);
  const VakNumVar x(env, 0, 40);
  env.useMTSafeAllocation(0);
  VakCreate<Loose>(env);
  EXPECT_EQ(report().types,
            (std::vector<Type>{{"(anonymous namespace)::Loose", 1, Loose::GetExtractableSize()},
                               {"VakModelVarI", 1, 48}}));
  EXPECT_EQ(report().identifiers.count, 3);
  delete loose;
  EXPECT_EQ(report().identifiers.count, 2);
}

TEST_P(MemoryReportAttack, HoldsInThreadSafeModeToo) {
  env.useMTSafeAllocation(1);
  const VakMemoryReport before = report();
  void* p = take(700);
  const VakNumArray array(env, 100);
  expectConsistent(report());
  EXPECT_GE((report() - before).inUse, 768 + 800);
  giveBack(p, 700);
  expectConsistent(report());
  env.useMTSafeAllocation(0);
  expectConsistent(report());
}

/// Reports of what it is told of, in the middle of a change.
class Reporter final : public VakAlgorithmI {
 public:
  explicit Reporter(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  void change(const VakChange& c, const VakExtractableI* /*extractable*/) override { change(c); }
  void change(const VakChange& /*change*/) override {
    reports.emplace_back(VakEnv(_env));
    EXPECT_EQ(VakMemoryReport(VakEnv(_env)), reports.back());
    expectConsistent(reports.back());
  }
  std::vector<VakMemoryReport> reports;
};

TEST_P(MemoryReportAttack, MayBeMadeWhileARemovalRuns) {
  VakModel model(env, "m");
  VakNumVar x(env, 0, 40, "x");
  VakNumVar y(env, 0, 40, "y");
  model.add(x <= 3, "c");
  model.add(x + y <= 3, "d");
  auto* reporter = new Reporter(env.getImpl());
  const std::size_t before = reporter->reports.size();
  x.end();
  EXPECT_GT(reporter->reports.size(), before + 1);
  EXPECT_GT(reporter->reports[before].identifiers.count,
            reporter->reports.back().identifiers.count - 1);
}

TEST_P(MemoryReportAttack, WritesJsonThatAStrictReaderReadsBack) {
  VakModel model(env, "m");
  VakNumVar x(env, 0, 40, "x");
  model.add(2 * x <= 3, "c");
  const VakNumArray array(env, 100);
  const VakMemoryReport now = report();
  const VakJsonValue json = VakJsonReader::Read(now.toJson());
  const auto amount = [](const VakJsonValue& v) {
    return VakMemoryReport::Amount{v["count"].number, v["bytes"].number};
  };
  const auto sizeClass = [](const VakJsonValue& v) {
    EXPECT_EQ(v.members.size(), 7U);
    return SizeClass{v["elementSize"].number, v["blocks"].number, v["elements"].number,
                     v["live"].number,        v["free"].number,   v["peak"].number,
                     v["wasted"].number};
  };
  const auto types = [](const VakJsonValue& v) {
    std::vector<Type> read;
    for (const VakJsonValue& e : v.elements) {
      read.push_back({e["name"].text, e["count"].number, e["bytes"].number});
    }
    return read;
  };
  VakMemoryReport read;
  read.isPooled = json["isPooled"].truth;
  read.isChecked = json["isChecked"].truth;
  for (const VakJsonValue& c : json["classes"].elements) read.classes.push_back(sizeClass(c));
  read.terms = sizeClass(json["terms"]);
  read.types = types(json["types"]);
  read.identifiers = amount(json["identifiers"]);
  read.symbols = amount(json["symbols"]);
  read.arrays = amount(json["arrays"]);
  if (now.isChecked) read.made = types(json["made"]);
  EXPECT_EQ(json["made"].kind == VakJsonValue::Kind::Null, !now.isChecked);
  read.inUse = json["inUse"].number;
  read.obtained = json["obtained"].number;
  read.highWater = json["highWater"].number;
  EXPECT_EQ(read, now);
  EXPECT_EQ(json.members.size(), 12U);
  EXPECT_EQ(VakJsonReader::Read((report() - now).toJson())["inUse"].number, 0);
}

/// Groups digits by threes, as the locales of many countries do.
struct Grouping : std::numpunct<char> {
  [[nodiscard]] char do_thousands_sep() const override { return '.'; }
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

/// Sets the locale of the process for a scope.
struct ScopedLocale {
  ScopedLocale() : before(std::locale::global(std::locale(std::locale::classic(), new Grouping))) {}
  ~ScopedLocale() { std::locale::global(before); }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;
  std::locale before;
};

TEST_P(MemoryReportAttack, ReadsTheSameInEveryLocale) {
  const VakNumArray array(env, 5000);
  const VakMemoryReport now = report();
  std::ostringstream plain;
  plain << now;
  const std::string json = now.toJson();
  const ScopedLocale grouping;
  std::ostringstream grouped;
  grouped << now;
  EXPECT_EQ(grouped.str(), plain.str());
  EXPECT_EQ(now.toJson(), json);
}

TEST(MemoryReportValue, WritesValidJsonOfNamesWithEveryCharacter) {
  VakMemoryReport report;
  std::string name;
  for (int c = 1; c < 128; ++c) name += static_cast<char>(c);
  report.types = {{name, 1, 2}, {"Gr\xC3\xB6\xC3\x9F\x65", 3, 4}};
  const VakJsonValue json = VakJsonReader::Read(report.toJson());
  EXPECT_EQ(json["types"].elements[0]["name"].text, name);
  EXPECT_EQ(json["types"].elements[1]["name"].text, report.types[1].name);
}

TEST(MemoryReportValue, KeepsColumnsApartHoweverLargeTheNumbersAre) {
  VakMemoryReport report;
  const VakInt large = 1L << 50;
  report.classes = {{large, large, large, large, large, large, large}};
  report.types = {{std::string(60, 'T'), large, -large}};
  std::ostringstream out;
  out << report;
  const std::string number = std::to_string(large);
  EXPECT_THAT(out.str(), testing::HasSubstr(number + ' ' + number));
  EXPECT_THAT(out.str(), testing::HasSubstr(std::string(60, 'T') + ' ' + number + " -" + number));
}

TEST(MemoryReportValue, OutlivesItsEnvironment) {
  VakEnv env;
  VakNumVar x(env, 0, 40, "x");
  const VakMemoryReport report(env);
  const std::string json = report.toJson();
  env.end();
  EXPECT_EQ(report.toJson(), json);
  EXPECT_EQ((report - report).inUse, 0);
}

TEST(MemoryReportValue, KeepsEnvironmentsApart) {
  VakEnv one;
  VakEnv other;
  const VakMemoryReport before(other);
  void* p = one.getMemoryManager().getImpl()->alloc(5000);
  EXPECT_EQ(VakMemoryReport(other), before);
  one.getMemoryManager().getImpl()->free(p, 5000);
  one.end();
  EXPECT_EQ(VakMemoryReport(other), before);
  other.end();
}

}  // namespace
