#include "vaksupport/symbol_table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/checking_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"

namespace {

TEST(VakSymbolTable, MakesOneSymbolForEqualNames) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  const std::string name = "capacity";
  const std::string sameName = "capacity";
  VakSymbolI* symbol = table.make(name.c_str());
  EXPECT_EQ(table.make(sameName.c_str()), symbol);
  EXPECT_EQ(table.getSize(), 1);
}

TEST(VakSymbolTable, StoresACopyOfTheName) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  char name[] = "demand";
  VakSymbolI* symbol = table.make(name);
  EXPECT_NE(symbol->getName(), name);
  name[0] = 'D';
  EXPECT_STREQ(symbol->getName(), "demand");
  EXPECT_EQ(symbol->getLength(), 6);
}

TEST(VakSymbolTable, GetFindsWhatWasMadeAndMakesNothing) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  EXPECT_EQ(table.get("x"), nullptr);
  EXPECT_EQ(table.getSize(), 0);
  EXPECT_EQ(table._table._buckets, nullptr);
  VakSymbolI* symbol = table.make("x");
  EXPECT_EQ(table.get("x"), symbol);
  EXPECT_EQ(table.get("y"), nullptr);
  EXPECT_EQ(table.getSize(), 1);
}

TEST(VakSymbolTable, ANullNameHasNoSymbol) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  EXPECT_EQ(table.get(nullptr), nullptr);
  EXPECT_EQ(table.make(nullptr), nullptr);
  EXPECT_EQ(table.getSize(), 0);
}

TEST(VakSymbolTable, TheEmptyNameIsANameLikeAnother) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  VakSymbolI* symbol = table.make("");
  EXPECT_STREQ(symbol->getName(), "");
  EXPECT_EQ(symbol->getLength(), 0);
  EXPECT_EQ(table.get(""), symbol);
}

TEST(VakSymbolTable, CharactersBeyondAsciiCount) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  VakSymbolI* symbol = table.make(
      "gr\xc3\xb6\xc3\x9f"
      "e");
  EXPECT_EQ(table.get("gr\xc3\xb6\xc3\x9f"
                      "e"),
            symbol);
  EXPECT_EQ(table.get("gr\xc3\xb6sse"), nullptr);
}

TEST(VakSymbolTable, TheHashTableHoldsNamesAndSymbols) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  VakSymbolI* symbol = table.make("x");
  EXPECT_EQ(table._table._size, 31);
  EXPECT_EQ(table._table._nbItems, 1);
  const auto* item = table._table._buckets[table._table._hash("x", 31)];
  EXPECT_EQ(item->getKey(), symbol->getName());
  EXPECT_EQ(item->getValue(), symbol);
}

TEST(VakSymbolTable, HoldsTensOfThousandsOfNames) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  std::vector<VakSymbolI*> symbols;
  constexpr VakInt count = 30000;
  for (VakInt i = 0; i < count; ++i) symbols.push_back(table.make(std::to_string(i).c_str()));
  EXPECT_EQ(table.getSize(), count);
  EXPECT_EQ(table._table._size, 31 * 512);
  EXPECT_EQ(table._table.check(), "");
  for (VakInt i = 0; i < count; ++i) {
    const std::string name = std::to_string(i);
    ASSERT_EQ(table.get(name.c_str()), symbols[static_cast<std::size_t>(i)]);
    ASSERT_EQ(symbols[static_cast<std::size_t>(i)]->getName(), name);
  }
}

TEST(VakSymbolTable, ListsItsSymbolsInTheOrderInWhichTheyWereMade) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  EXPECT_TRUE(table.getSymbols().empty());
  for (const char* name : {"c", "a", "b", "a"}) table.make(name);
  std::string names;
  for (const VakSymbolI* symbol : table.getSymbols()) names += symbol->getName();
  EXPECT_EQ(names, "cab");
}

TEST(VakSymbolTable, AnInitialSizeBelowOneIsTakenAsOne) {
  const VakScopedEnv env;
  for (const VakInt size : {0, -5}) {
    VakSymbolTable table(env.impl(), size);
    EXPECT_EQ(table._table._size, 1);
    EXPECT_NE(table.make("x"), nullptr);
  }
}

TEST(VakSymbolTable, TheHashOfANameIsABucketForEverySize) {
  for (const VakInt size : {1, 2, 31, 62, 1000003}) {
    for (const char* name : {"", "a", "\xff\xfe", "a rather long name of a symbol"}) {
      const VakInt index = VakSymbolTable::HashName(name, size);
      EXPECT_GE(index, 0);
      EXPECT_LT(index, size);
    }
  }
}

TEST(VakSymbolTable, GivesAllMemoryBackWithItsSizes) {
  const VakScopedEnv env;
  VakCheckedPath path(env.impl());
  auto* table = VakCreate<VakSymbolTable>(env.impl(), 1);
  for (int i = 0; i < 100; ++i) table->make(std::string(static_cast<std::size_t>(i), 'x').c_str());
  VakEnvObjectI* base = table;
  delete base;
  EXPECT_EQ(path.ledger().countBlocks(), 0);
  EXPECT_EQ(path.ledger().mismatches, 0);
}

// Makes a table of `made` symbols and one more, of whose allocations number `failAt` fails; true if
// it came to that.
bool FailsCleanly(VakInt made, long failAt) {
  const VakScopedEnv env;
  VakCheckedPath path(env.impl());
  VakBlockLedger& ledger = path.ledger();
  VakSymbolTable table(env.impl(), 31);
  for (VakInt i = 0; i < made; ++i) table.make(std::to_string(i).c_str());
  ledger.requests = 0;
  ledger.failAt = failAt;
  bool threw = false;
  try {
    table.make("last");
  } catch (const std::bad_alloc&) {
    threw = true;
  }
  ledger.failAt = 0;
  EXPECT_EQ(table.get("last") == nullptr, threw);
  EXPECT_EQ(table._table._nbItems, table.getSize());
  EXPECT_EQ(table._table.check(), "");
  for (VakInt i = 0; i < made; ++i) {
    EXPECT_EQ(table.getEncoder()->encode(table.get(std::to_string(i).c_str())), i);
  }
  EXPECT_EQ(table.getEncoder()->encode(table.make("last")), made);
  EXPECT_EQ(ledger.mismatches, 0);
  return threw;
}

TEST(VakSymbolTable, WhicheverAllocationFailsThereIsNoSymbolAndNothingIsLost) {
  struct Case {
    VakInt made;
    long allocations;
  };
  constexpr Case cases[] = {
      {0, 4},   // list, symbol, buckets, item
      {16, 3},  // larger list, symbol, item
      {20, 2},  // symbol, item
      {62, 3},  // symbol, item, more buckets
  };
  for (const Case& c : cases) {
    long failAt = 1;
    while (FailsCleanly(c.made, failAt)) ++failAt;
    EXPECT_EQ(failAt - 1, c.allocations) << c.made << " symbols";
  }
}

TEST(VakSymbolEncoder, NumbersSymbolsFromZeroInTheOrderInWhichTheyWereMade) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  const VakSymbolEncoder* encoder = table.getEncoder();
  EXPECT_EQ(encoder->getSize(), 0);
  for (VakInt i = 0; i < 100; ++i) {
    VakSymbolI* symbol = table.make(std::to_string(i).c_str());
    EXPECT_EQ(symbol->getCode(), i);
    EXPECT_EQ(encoder->encode(symbol), i);
    EXPECT_EQ(encoder->getSize(), i + 1);
  }
  for (VakInt i = 0; i < 100; ++i) {
    EXPECT_STREQ(encoder->decode(i)->getName(), std::to_string(i).c_str());
  }
}

TEST(VakSymbolEncoder, KnowsNothingOfNullOtherTablesAndNumbersNotGiven) {
  const VakScopedEnv env;
  VakSymbolTable table(env.impl(), 31);
  VakSymbolTable other(env.impl(), 31);
  table.make("x");
  const VakSymbolEncoder* encoder = table.getEncoder();
  EXPECT_EQ(encoder->encode(nullptr), -1);
  EXPECT_EQ(encoder->encode(other.make("x")), -1);
  EXPECT_EQ(encoder->encode(other.make("y")), -1);
  EXPECT_EQ(encoder->decode(-1), nullptr);
  EXPECT_EQ(encoder->decode(1), nullptr);
}

}  // namespace
