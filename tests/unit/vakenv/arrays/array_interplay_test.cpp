// Arrays, tables, identifiers and symbols under unusual sizes, values and functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <map>
#include <new>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/unit/vakenv/arrays/array_test_tools.h"
#include "vakenv/arrays.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/tables/env_hash_table.h"
#include "vakenv/tables/hash_table.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

namespace {

class ArrayInterplay : public VakArrayEnvTest {};

struct alignas(16) Wide {
  double a, b;
};

TEST_F(ArrayInterplay, WideElementsAreAligned) {
  for (long n = 0; n < 70; ++n) {
    char* odd = env.getImpl()->strDup("1234567");
    VakArray<Wide> wide(env, n);
    for (long i = 0; i < n; ++i)
      ASSERT_EQ(reinterpret_cast<unsigned long>(&wide[i]) % 16, 0u) << n << " " << i;
    wide.end();
    env.getImpl()->strFree(odd);
  }
}

TEST_F(ArrayInterplay, GeometryFollowsTheSquareForEveryAdd) {
  VakIntArray a(env, 0);
  long max = 1, shift = 0, chunks = 1;
  for (long s = 0; s < 3000; ++s) {
    const long total = s + 1;
    if (max < total) {
      while (max < total) max *= 4, ++shift;
      chunks = ((total - 1) >> shift) + 1;
    } else {
      chunks = std::max(chunks, ((total - 1) >> shift) + 1);
    }
    a.add(s);
    ASSERT_EQ(a.getImpl()->_max, max) << s;
    ASSERT_EQ(a.getImpl()->_shift, shift);
    ASSERT_EQ(VakCountChunks(*a.getImpl()), chunks) << s;
    ASSERT_EQ(a.getImpl()->check(), "");
    ASSERT_EQ(a[s], s);
  }
  a.end();
}

TEST_F(ArrayInterplay, NegativeSizesAppendSafely) {
  for (long n : {-1L, -2L, -3L, -9L}) {
    VakIntArray a(env, n);
    for (long i = 0; i < 40; ++i) a.add(i);
    EXPECT_EQ(a.getSize(), n + 40);
    for (long i = 0; i < n + 40; ++i) EXPECT_EQ(a[i], i - n);
    VakIntArray b(env, n);
    b.append({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(b.getSize(), n + 12);
    for (long i = 0; i < b.getSize(); ++i) EXPECT_EQ(b[i], i - n + 1);
    VakIntArray c(env, n);
    c.append(a);
    EXPECT_EQ(c.getSize(), n + n + 40);
    for (long i = 0; i < c.getSize(); ++i) EXPECT_EQ(c[i], a[i - n]);
    VakIntArray d(env, n);
    d.append(d);
    EXPECT_EQ(d.getSize(), 2 * n);
    std::ostringstream out;
    out << d;
    EXPECT_EQ(out.str(), "[]");
    EXPECT_EQ(d.toNumArray().getSize(), 2 * n);
    EXPECT_EQ(d.toAnyArray().getSize(), 2 * n);
    EXPECT_TRUE(d.areElementsBoolean());
    EXPECT_FALSE(d.contains(0));
    d.discard(1);
    EXPECT_THROW(d.remove(0, 0), VakArrayError);
  }
}

TEST_F(ArrayInterplay, CopyOfClearedArrayGrowsAndFrees) {
  for (long n : {1L, 5L, 17L, 65L, 1000L}) {
    VakIntArray a(env, n);
    a.clear();
    VakIntArray copy(VakCreate<VakArrayI>(env.getMemoryManager(), a.getImpl()));
    EXPECT_EQ(copy.getImpl()->_max, 0);
    for (long i = 0; i < 100; ++i) {
      copy.add(i);
      ASSERT_EQ(copy.getImpl()->check(), "");
    }
    for (long i = 0; i < 100; ++i) ASSERT_EQ(copy[i], i);
    copy.end();
    VakIntArray second(VakCreate<VakArrayI>(env.getMemoryManager(), a.getImpl()));
    second.append(second);
    second.end();
    a.append(a);
    a.add(3);
    EXPECT_EQ(a[0], 3);
    a.end();
  }
}

TEST_F(ArrayInterplay, RemoveThenCopyThenGrow) {
  VakIntArray a(env, 60);
  std::iota(begin(a), end(a), 0L);
  a.remove(3, 55);
  VakIntArray copy(VakCreate<VakArrayI>(env.getMemoryManager(), a.getImpl()));
  EXPECT_EQ(copy.getImpl()->check(), "");
  copy.getImpl()->grow(64);
  EXPECT_EQ(copy.getImpl()->check(), "");
  EXPECT_EQ(VakElements<long>(copy), (std::vector<long>{0, 1, 2, 58, 59}));
  a.getImpl()->grow(65);
  EXPECT_EQ(a.getImpl()->check(), "");
  EXPECT_EQ(VakElements<long>(a), (std::vector<long>{0, 1, 2, 58, 59}));
  a.remove(0, 5);
  a.getImpl()->grow(4097);
  EXPECT_EQ(a.getImpl()->check(), "");
}

TEST_F(ArrayInterplay, AbsurdCountsThrowAndChangeNothing) {
  VakIntArray a(env, 3, 1L, 2L, 3L);
  const long max = a.getImpl()->_max;
  for (long n : {LONG_MAX, (1L << 62) + 1, 1L << 62, 1L << 50}) {
    EXPECT_THROW(a.getImpl()->grow(n), std::bad_alloc);
    EXPECT_THROW(VakIntArray(env, n), std::bad_alloc);
    EXPECT_THROW(VakNumArray(env, n, 1.0, 2.0), std::bad_alloc);
    EXPECT_THROW(VakNumArray2(env, n, VakNumArray()), std::bad_alloc);
    EXPECT_EQ(a.getImpl()->_max, max);
    EXPECT_EQ(a.getImpl()->check(), "");
  }
  EXPECT_THROW(a.remove(1, LONG_MAX), VakArrayError);
  EXPECT_THROW(a.remove(LONG_MAX, 1), VakArrayError);
  EXPECT_THROW(a.remove(LONG_MIN, LONG_MAX), VakArrayError);
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { a.remove(-1, 99); }),
            "invalid index for first element to remove");
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { a.remove(4, 0); }),
            "Trying to remove to much elements");
  a.remove(3, 0);
  EXPECT_EQ(VakElements<long>(a), (std::vector<long>{1, 2, 3}));
}

TEST_F(ArrayInterplay, OddElementSizesWork) {
  for (long es : {1L, 2L, 3L, 5L, 12L, 24L, 100L}) {
    VakArrayOwner a(VakCreate<VakArrayI>(env.getMemoryManager(), 5L, es));
    VakArrayOwner b(VakCreate<VakArrayI>(env.getMemoryManager(), 5L, es));
    for (long i = 0; i < 5; ++i) std::fill_n(b->element(i), es, static_cast<char>(i + 1));
    for (int k = 0; k < 20; ++k) a->addArray(b.get());
    a->addArray(a.get());
    EXPECT_EQ(a->check(), "");
    a->remove(7, 13);
    EXPECT_EQ(a->getSize(), 197);
    for (long i = 0; i < 197; ++i) {
      const long old = i < 7 ? i : i + 13;
      const char want = static_cast<char>(old < 5     ? 0
                                          : old < 105 ? (old - 5) % 5 + 1
                                          : old < 110 ? 0
                                                      : (old - 110) % 5 + 1);
      for (long k = 0; k < es; ++k) ASSERT_EQ(a->element(i)[k], want) << es << ' ' << i;
    }
  }
}

TEST_F(ArrayInterplay, AlgorithmsCrossChunkBorders) {
  for (long n : {0L, 1L, 2L, 3L, 4L, 5L, 15L, 16L, 17L, 63L, 64L, 65L, 256L, 1000L}) {
    VakIntArray a(env, n);
    std::vector<long> v(static_cast<std::size_t>(n));
    for (long i = 0; i < n; ++i) v[i] = a[i] = (i * 7919) % 1009;
    std::sort(begin(a), end(a));
    std::sort(v.begin(), v.end());
    EXPECT_EQ(VakElements<long>(a), v);
    std::ranges::reverse(a);
    std::ranges::reverse(v);
    EXPECT_EQ(VakElements<long>(a), v);
    EXPECT_EQ(end(a) - begin(a), n);
    for (long i = 0; i <= n; ++i) {
      ASSERT_EQ((begin(a) + i) - begin(a), i);
      ASSERT_TRUE(end(a) - (n - i) == begin(a) + i);
      ASSERT_EQ((begin(a) + i) <=> end(a),
                i < n ? std::strong_ordering::less : std::strong_ordering::equal);
    }
    std::vector<long> back(std::make_reverse_iterator(end(a)),
                           std::make_reverse_iterator(begin(a)));
    std::ranges::reverse(v);
    EXPECT_EQ(back, v);
    a.end();
    a.end();
  }
}

TEST_F(ArrayInterplay, LiteralsOfTheTextCompile) {
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakNumArray(env, 2, 1.5); }),
            "VakNumArray::VakNumArray: n != 1");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakIntArray(env, 0, 0); }),
            "VakIntArray::VakIntArray: n != 1");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakBoolArray(env, -1, 0); }),
            "VakBoolArray::VakBoolArray: n != 1");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakNumArray(env, 1, 1, 2); }),
            "VakNumArray::VakNumArray: n must be >=2");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakNumArray(env, LONG_MIN, 1L, 2); }),
            "VakNumArray::VakNumArray: n must be >=2");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakIntArray(env, 1, 5, 6); }),
            "VakIntArray::VakIntArray: n must be >= 2");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { VakBoolArray(env, 1, 1, 0); }),
            "VakBoolArray::VakBoolArray: n must be >= 2");
  VakNumArray mixed(env, 4, 1, 2.5, 3, 4);
  EXPECT_EQ(VakElements<double>(mixed), (std::vector<double>{1, 2.5, 3, 4}));
  const long big = (1L << 53) + 1;
  VakIntArray exact(env, 3, big, big, big);
  EXPECT_EQ(VakElements<long>(exact), (std::vector<long>{big, big, big - 1}));
  VakIntArray limits(env, 4, 1L, 2L, LONG_MAX, LONG_MIN);
  EXPECT_EQ(limits[2], LONG_MAX);
  EXPECT_EQ(limits[3], LONG_MIN);
  VakBoolArray flags(env, 3, 1, 0, 7L);
  EXPECT_EQ(flags[2], 7);
  VakIntArray viaZero(env, 0);
  VakNumArray numZero(env, 0);
  EXPECT_EQ(viaZero.getSize() + numZero.getSize(), 0);
}

TEST_F(ArrayInterplay, ThrowingConstructorLeavesTheEmptyArrayInThePlace) {
  alignas(VakIntArray) unsigned char place[sizeof(VakIntArray)] = {};
  EXPECT_THROW(::new (place) VakIntArray(env, 3, 1), VakWrongUsage);
  VakArrayI* impl = nullptr;
  std::memcpy(&impl, place, sizeof impl);
  ASSERT_NE(impl, nullptr);
  EXPECT_EQ(impl->getSize(), 0);
}

TEST_F(ArrayInterplay, EmptyEnvironmentIsNamed) {
  const auto text = "VakEnv: Using empty handle";
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakNumArray(VakEnv(nullptr), 1); }), text);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakNumArray(VakEnv(nullptr), 7, 1.0); }),
            text);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakIntArray(VakEnv(nullptr), 1, 1, 2); }),
            text);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakBoolArray(VakEnv(nullptr), 1); }), text);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>(
                [] { VakIntArray2(VakEnv(nullptr), 1, VakIntArray()); }),
            text);
  EXPECT_EQ(
      VakMessageOf<VakEmptyHandleException>([] {
        static_cast<void>(intersectOrderedIndex(VakEnv(nullptr), VakIntArray(), VakIntArray()));
      }),
      text);
}

TEST_F(ArrayInterplay, SpecialNumbersAreJudgedByFloor) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  VakNumArray a(env, 5, inf, -inf, -0.0, 0x1p52, 0x1p63);
  EXPECT_TRUE(a.areElementsInteger());
  VakIntArray t = a.toIntArray();
  EXPECT_EQ(VakElements<long>(t), (std::vector<long>{LONG_MAX, LONG_MIN, 0, 1L << 52, LONG_MAX}));
  a.add(0x1p52 - 0.5);
  EXPECT_FALSE(a.areElementsInteger());
  VakNumArray n(env, 1, nan);
  EXPECT_FALSE(n.areElementsInteger());
  EXPECT_FALSE(n.areElementsBoolean());
  EXPECT_FALSE(n.contains(nan));
  EXPECT_THROW(static_cast<void>(n.toIntArray()), VakBadConversion);
  EXPECT_FALSE(VakNumArray2::equal(n, n));
  VakNumArray z(env, 1, -0.0);
  EXPECT_TRUE(z.areElementsBoolean());
  EXPECT_TRUE(z.contains(0.0));
}

TEST_F(ArrayInterplay, CandidateZeroIsTheTable) {
  VakIntArray row(env, 1, 5);
  VakIntArray2 t(env, 2, row);
  EXPECT_EQ(t.getSize(), 3);
  EXPECT_TRUE(t.contains(VakIntArray(t.getImpl())));
  EXPECT_FALSE(t.contains(row));
  EXPECT_TRUE(t.containsRow(row));
  EXPECT_FALSE(t.contains(VakIntArray()));
  EXPECT_FALSE(t.containsRow(VakIntArray()));
  VakIntArray bits(env, 3, 0L, 0L, 0L);
  bits[2] = reinterpret_cast<long>(row.getImpl());
  EXPECT_TRUE(t.contains(bits));
  VakIntArray2 none(env, 0);
  EXPECT_FALSE(none.contains(VakIntArray(env, 0)));
  VakIntArray2 minus(env, -1, row);
  EXPECT_EQ(minus.getSize(), 0);
  VakNumArray2 nt(env, 1, VakNumArray());
  EXPECT_TRUE(nt.contains(VakNumArray(env, 2)));  // null handles are bits of 0.0
}

TEST_F(ArrayInterplay, IntersectionMatchesAPlainTranscriptionOnRandomArrays) {
  unsigned long seed = 7;
  auto rnd = [&](long n) {
    seed = seed * 6364136223846793005UL + 1442695040888963407UL;
    return static_cast<long>((seed >> 33) % static_cast<unsigned long>(n));
  };
  for (int round = 0; round < 400; ++round) {
    std::vector<long> a(rnd(600)), b(rnd(6));
    if (round & 1) std::swap(a, b);
    for (long& x : a) x = rnd(300) - 50;
    for (long& x : b) x = rnd(300) - 50;
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    std::vector<long> want;
    bool made = false;
    [&] {
      const auto& L = b.size() > a.size() ? b : a;
      const auto& S = b.size() > a.size() ? a : b;
      long nL = L.size(), nS = S.size();
      if (nL == 0 || nS == 0) return;
      long i = 0, j = 0, x = L[0], y = S[0];
      if (S[nS - 1] < x || L[nL - 1] < y) return;
      if (x < y && nL > 100 * nS && nL > nS) {
        long lo = 0, hi = nL;
        do {
          long mid = lo + (hi - lo) / 2;
          if (L[mid] > y)
            hi = mid;
          else {
            i = mid;
            x = L[mid];
            lo = mid;
            if (x == y) break;
          }
        } while (hi - lo > nS - j);
      }
      for (;;) {
        if (x == y) {
          made = true;
          want.push_back(x);
          if (++i == nL) break;
          x = L[i];
          if (++j == nS) break;
          y = S[j];
        } else if (x > y) {
          if (++j == nS) break;
          y = S[j];
        } else {
          if (++i == nL) break;
          x = L[i];
        }
      }
    }();
    VakIntArray va = VakIntArray::From(env.getMemoryManager(), a);
    VakIntArray vb = VakIntArray::From(env.getMemoryManager(), b);
    VakIntArray r = intersectOrderedIndex(env, va, vb);
    ASSERT_EQ(r.getImpl() != nullptr, made);
    ASSERT_EQ(VakElements<long>(r), want);
    va.end();
    vb.end();
    r.end();
  }
}

TEST_F(ArrayInterplay, DiscardTakesTheLastOccurrence) {
  VakIntArray a(env, 6, 3, 1, 3, 2, 1, 3);
  a.discard(VakIntArray(env, 3, 3, 3, 9));
  EXPECT_EQ(VakElements<long>(a), (std::vector<long>{3, 1, 2, 1}));
  VakIntArray none;
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { none.discard(1); }),
            "Empty Handle in VakIntArray::remove");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { none.discard(a); }),
            "Empty Handle in VakIntArray::remove");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { static_cast<void>(none.contains(a)); }),
            "Empty Handle in VakIntArray::contains");
  EXPECT_EQ(VakMessageOf<VakWrongUsage>([&] { static_cast<void>(VakNumArray().contains(1)); }),
            "Empty Handle in VakNumArray::contains");
  EXPECT_TRUE(a.contains(VakIntArray(env, 0)));
}

// ---- hash tables
long hashCalls = 0;
long failAt = -1;
int failKind = 0;  // 0 throw, 1 negative, 2 size
long Hash(long key, long size) {
  if (++hashCalls == failAt) {
    if (failKind == 0) throw 42;
    return failKind == 1 ? -1 : size;
  }
  return static_cast<long>(static_cast<unsigned long>(key) % static_cast<unsigned long>(size));
}
long Same(long a, long b) { return a == b ? -7 : 0; }

template <class Table>
void attackRehash(Table& table) {
  std::map<long, long> model;
  for (failKind = 0; failKind < 3; ++failKind) {
    for (long base = 1; base <= 40; ++base) {
      const long key = failKind * 1000 + base * 3;
      for (long k = 1;; ++k) {
        hashCalls = 0;
        failAt = k;
        bool thrown = false;
        long status = -1;
        try {
          status = table.add(key, key + 1);
        } catch (int) {
          thrown = true;
        } catch (const VakWrongUsage& e) {
          EXPECT_STREQ(e.getMessage(), "Hash function returned bad index");
          thrown = true;
        }
        failAt = -1;
        ASSERT_EQ(table.check(), "");
        if (!thrown) {
          ASSERT_EQ(status, 0);
          model[key] = key + 1;
        }
        ASSERT_EQ(table._nbItems, static_cast<long>(model.size()));
        for (auto [mk, mv] : model) {
          long v = 0;
          ASSERT_EQ(table.find(mk, v), 0);
          ASSERT_EQ(v, mv);
        }
        if (!thrown) break;
      }
    }
  }
  long v = 99;
  EXPECT_EQ(table.find(-5, v), 1);
  EXPECT_EQ(v, 99);
  EXPECT_EQ(table.add(3, 0), 2);
  EXPECT_EQ(table.find(3, v), 0);
  EXPECT_EQ(v, 4);
  const long size = table._size;
  for (auto [mk, mv] : model) {
    EXPECT_EQ(table.remove(mk), 0);
    EXPECT_EQ(table.remove(mk), 1);
  }
  EXPECT_EQ(table._size, size);
  EXPECT_EQ(table._nbItems, 0);
  table.reMod(3);
  EXPECT_EQ(table._size, 3);
  table.end();
}

TEST_F(ArrayInterplay, EveryFailingHashCallLeavesTheTableWhole) {
  VakHashTable<long, long> heap(Hash, Same, 1);
  attackRehash(heap);
  VakEnvHashTable<long, long> inEnv(env.getImpl(), 1, Hash, Same);
  long v = 5;
  EXPECT_EQ(inEnv.find(1, v), 1);
  EXPECT_EQ(inEnv._buckets, nullptr);
  attackRehash(inEnv);
}

TEST_F(ArrayInterplay, ReModReversesChains) {
  VakEnvHashTable<long, long> t(
      env.getImpl(), 4, +[](long, long) { return 0L; }, Same);
  for (long i = 0; i < 5; ++i) EXPECT_EQ(t.add(i, i), 0);
  std::vector<long> keys;
  for (auto* item = t._buckets[0]; item; item = item->getNext()) keys.push_back(item->getKey());
  EXPECT_EQ(keys, (std::vector<long>{4, 3, 2, 1, 0}));
  t.reMod(9);
  keys.clear();
  for (auto* item = t._buckets[0]; item; item = item->getNext()) keys.push_back(item->getKey());
  EXPECT_EQ(keys, (std::vector<long>{0, 1, 2, 3, 4}));
}

TEST_F(ArrayInterplay, AddressTableDoublesAtThreeFiveNine) {
  VakHashTable<char*, long> t(VakHashAddress<char*>, VakCompareAddresses<char*>, 1);
  static char bytes[4096];
  std::vector<long> sizes;
  for (long i = 0; i < 9; ++i) {
    t.add(bytes + 32 * i, i);
    sizes.push_back(t._size);
  }
  EXPECT_EQ(sizes, (std::vector<long>{1, 1, 2, 2, 4, 4, 4, 4, 8}));
  EXPECT_EQ(t.add(nullptr, 1), 0);
  EXPECT_EQ(t.check(), "");
  t.end();
}

TEST_F(ArrayInterplay, SizesOutsideAreHeapFailuresOfTheirKind) {
  EXPECT_THROW((VakHashTable<long, long>(Hash, Same, LONG_MAX)), VakMemoryException);
  VakEnvHashTable<long, long> t(env.getImpl(), LONG_MAX, Hash, Same);
  EXPECT_THROW(t.create(), std::bad_alloc);
  EXPECT_THROW(t.add(1, 1), std::bad_alloc);
  VakHashTable<long, long> zero(Hash, Same, 1);
  zero.add(1, 1);
  EXPECT_THROW(zero.reMod(LONG_MAX), VakMemoryException);
  EXPECT_EQ(zero.check(), "");
  zero.end();
  static_assert(sizeof(VakHashTable<long, long>) == 40);
  static_assert(sizeof(VakEnvHashTable<long, long>) == sizeof(VakEnvObjectI) + 40);
}

// ---- identifiers
TEST_F(ArrayInterplay, IdentifiersAreHandedOutLastInFirstOut) {
  VakIdManager ids(&env.getImpl()->_memory);
  auto* e = reinterpret_cast<VakExtractableI*>(&hashCalls);
  EXPECT_EQ(ids._capacity, 256);
  EXPECT_EQ(ids._size, 0);
  for (long i = 0; i < 255; ++i) ASSERT_EQ(ids.newId(e), i);
  EXPECT_EQ(ids._capacity, 256);
  EXPECT_EQ(ids.newId(nullptr), 255);
  EXPECT_EQ(ids._capacity, 512);
  EXPECT_EQ(ids.getMemoryUsage(), 512 * 8);
  ids.freeId(5);
  ids.freeId(-1);
  ids.freeId(512);
  ids.freeId(LONG_MIN);
  ids.freeId(LONG_MAX);
  EXPECT_EQ(ids.newId(e), 5);
  ids.freeId(7);
  ids.freeId(254);
  EXPECT_EQ(ids._size, 256);
  ids.freeId(255);
  EXPECT_EQ(ids._size, 255);
  VakIdManager::Iterator it(&ids);
  long seen = 0;
  for (it.nextValid(); it.index < ids._size; it.nextValid()) ++seen;
  EXPECT_EQ(seen, 253);
  EXPECT_EQ(it.index, 255);
  EXPECT_EQ(ids.check(), "");
  ids.end();
  EXPECT_EQ(ids.getMemoryUsage(), 0);
  EXPECT_EQ(ids._size, 255);
  EXPECT_EQ(ids._capacity, 512);
  ids.freeId(3);
  VakIdManager::Iterator after(&ids);
  after.nextValid();
  EXPECT_GE(after.index, ids._size);
  ids.end();
  EXPECT_EQ(ids.newId(e), 0);
  EXPECT_EQ(ids._capacity, 256);
  EXPECT_EQ(ids._size, 1);
  ids.end();
}

// ---- symbols and random numbers
TEST_F(ArrayInterplay, SymbolsAndTheEncoder) {
  EXPECT_EQ(env.getSymbol("nobody"), nullptr);
  EXPECT_EQ(env.getSymbol(nullptr), nullptr);
  EXPECT_EQ(env.makeSymbol(nullptr), nullptr);
  EXPECT_FALSE(env.getImpl()->hasSymbol(nullptr));
  EXPECT_FALSE(env.getImpl()->hasSymbol("nobody"));
  VakSymbolI* empty = env.makeSymbol("");
  EXPECT_STREQ(empty->getName(), "");
  EXPECT_EQ(env.makeSymbol(empty->getName()), empty);
  EXPECT_TRUE(env.getImpl()->hasSymbol(""));
  VakSymbolTable table(env.getImpl(), 0L);
  VakSymbolTable* other = &table;
  EXPECT_EQ(other->get("x"), nullptr);
  std::vector<VakSymbolI*> made;
  for (int i = 0; i < 2000; ++i) made.push_back(other->make(std::to_string(i).c_str()));
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(other->get(std::to_string(i).c_str()), made[i]);
    ASSERT_EQ(other->getEncoder()->encode(made[i]), i);
    ASSERT_EQ(other->getEncoder()->decode(i), made[i]);
  }
  EXPECT_EQ(other->getEncoder()->encode(empty), -1);
  EXPECT_EQ(other->getEncoder()->decode(-1), nullptr);
  EXPECT_EQ(other->getEncoder()->decode(2000), nullptr);
  EXPECT_EQ(env.getImpl()->intern("a"), env.getImpl()->intern(std::string("a").c_str()));
}

TEST_F(ArrayInterplay, RandomNumbersAreSeededAndBounded) {
  VakUniqueRandomI* r = env.getRandom();
  EXPECT_EQ(env.getRandom(), r);
  r->reseed(0);
  const auto first = (*r)();
  r->reseed(0);
  EXPECT_EQ((*r)(), first);
  EXPECT_EQ(r->getInt(1), 0);
  for (long n : {2L, 3L, LONG_MAX}) {
    for (int i = 0; i < 1000; ++i) {
      const long x = r->getInt(n);
      ASSERT_TRUE(x >= 0 && x < n);
    }
  }
  EXPECT_THROW(static_cast<void>(r->getInt(0)), VakWrongUsage);
  EXPECT_THROW(static_cast<void>(r->getInt(LONG_MIN)), VakWrongUsage);
  EXPECT_THROW(static_cast<void>(VakEnv(nullptr).getRandom()), VakEmptyHandleException);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>(
                [] { static_cast<void>(VakEnv(nullptr).getSymbol("a")); }),
            "Using empty handle.");
}

static_assert(!std::is_convertible_v<VakNumArray, bool> &&
              !std::is_constructible_v<bool, VakNumArray>);
static_assert(!std::is_convertible_v<VakArrayI*, VakNumArray>);
static_assert(!std::is_convertible_v<VakNumArray, void*>);
static_assert(!std::is_base_of_v<VakIntArray, VakBoolArray>);
static_assert(!std::is_convertible_v<VakBoolArray, VakIntArray>);
static_assert(!std::is_constructible_v<VakBoolArray, VakMemoryManager, long>);
static_assert(sizeof(VakNumArray) == 8 && sizeof(VakIntArray2) == 8);
static_assert(std::is_trivially_copyable_v<VakNumArray> &&
              std::is_trivially_copyable_v<VakVarArgsNum>);
static_assert(std::ranges::random_access_range<VakNumArray> &&
              std::ranges::random_access_range<VakIntArray2>);
static_assert(std::random_access_iterator<VakArrayIterator<const long>>);
static_assert(!std::is_copy_constructible_v<VakArrayI> && !std::is_copy_assignable_v<VakArrayI>);
static_assert(!std::is_copy_constructible_v<VakEnvHashTable<long, long>>);

struct Stops {
  long n;
  struct It {
    long i = 0;
    using difference_type = long;
    using value_type = long;
    long operator*() const {
      if (i == 7) throw 5;
      return i;
    }
    It& operator++() {
      ++i;
      return *this;
    }
    void operator++(int) { ++i; }
    bool operator==(std::default_sentinel_t) const { return i == 100; }
  };
  It begin() const { return {}; }
  std::default_sentinel_t end() const { return {}; }
};

TEST_F(ArrayInterplay, AThrowingRangeKeepsWhatWasAppended) {
  VakIntArray a(env, 0);
  EXPECT_THROW(a.append(Stops{1}), int);
  EXPECT_EQ(VakElements<long>(a), (std::vector<long>{0, 1, 2, 3, 4, 5, 6}));
  const long before = env.getMemoryUsage();
  EXPECT_THROW(static_cast<void>(VakIntArray::From(env.getMemoryManager(), Stops{1})), int);
  EXPECT_EQ(env.getMemoryUsage(), before);
}

TEST_F(ArrayInterplay, HashTablesHoldKeysWithDestructors) {
  using T = VakEnvHashTable<std::string, std::string>;
  T t(
      env.getImpl(), 1, +[](std::string k, long n) { return static_cast<long>(k.size()) % n; },
      +[](std::string a, std::string b) { return a == b ? 1L : 0L; });
  for (int i = 0; i < 50; ++i) EXPECT_EQ(t.add(std::string(i, 'x'), std::string(i, 'y')), 0);
  EXPECT_EQ(t.add(std::string(3, 'x'), "no"), 2);
  std::string v;
  EXPECT_EQ(t.find(std::string(3, 'x'), v), 0);
  EXPECT_EQ(v, "yyy");
  EXPECT_EQ(t.remove(std::string(3, 'x')), 0);
  long seen = 0;
  for (T::Iterator it(t); it.ok(); ++it) ++seen;
  EXPECT_EQ(seen, 49);
  EXPECT_EQ(t.check(), "");
}

TEST_F(ArrayInterplay, ArraysPrintAsTheyShould) {
  std::ostringstream out;
  VakNumArray row(env, 2, 1.5, 2.0);
  out << VakIntArray(env, 3, 1, 2, 3) << VakNumArray() << VakNumArray2(env, 1, row)
      << VakBoolArray(env, 1, 1);
  EXPECT_EQ(out.str(), "[1, 2, 3][][[], [1.5, 2]][1]");
}

TEST_F(ArrayInterplay, ArrayWithoutEnvironmentSaysSo) {}

TEST_F(ArrayInterplay, IdentifiersAgainstAModel) {
  VakIdManager ids(&env.getImpl()->_memory);
  std::vector<long> booked, freed;
  long next = 0, size = 0;
  unsigned long seed = 3;
  auto* e = reinterpret_cast<VakExtractableI*>(&hashCalls);
  for (int i = 0; i < 100000; ++i) {
    seed = seed * 6364136223846793005UL + 1442695040888963407UL;
    if (booked.empty() || (seed >> 40) % 100 < 55) {
      long want = freed.empty() ? next++ : freed.back();
      if (!freed.empty()) freed.pop_back();
      ASSERT_EQ(ids.newId(e), want);
      booked.push_back(want);
      size = std::max(size, want + 1);
    } else {
      std::size_t k = (seed >> 33) % booked.size();
      long id = booked[k];
      booked[k] = booked.back();
      booked.pop_back();
      ids.freeId(id);
      freed.push_back(id);
      if (id == size - 1) --size;
    }
    ASSERT_EQ(ids._size, size);
  }
  EXPECT_EQ(ids.check(), "");
  long seen = 0;
  VakIdManager::Iterator it(&ids);
  for (it.nextValid(); it.index < ids._size; it.nextValid()) ++seen;
  EXPECT_EQ(seen, static_cast<long>(booked.size()));
  ids.end();
}

TEST_F(ArrayInterplay, StringsAndElapsedTime) {
  VakEnvI* e = env.getImpl();
  EXPECT_EQ(e->strDup(nullptr), nullptr);
  e->strFree(nullptr);
  char* s = e->strDup("");
  EXPECT_EQ(*s, 0);
  e->strFree(s);
  EXPECT_EQ(e->intern(nullptr), nullptr);
}

}  // namespace
