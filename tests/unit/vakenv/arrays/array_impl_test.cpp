#include "vakenv/arrays/array_impl.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <numeric>
#include <string>
#include <type_traits>

#include "tests/unit/vakenv/arrays/array_test_tools.h"
#include "vakenv/arrays/array_error.h"
#include "vakenv/environment.h"

namespace {

std::vector<long> countingTo(long n) {
  std::vector<long> values(static_cast<std::size_t>(n));
  std::iota(values.begin(), values.end(), 0L);
  return values;
}

TEST(ArrayI, HoldsEightWordsInTheirDocumentedOrder) {
  VakArrayMemory manager;
  char* table[1] = {nullptr};
  const VakArrayOwner array(VakCreate<VakArrayI>(&manager, 11L, 12L, 13L, 14L, 15L, table));
  long words[8];
  std::memcpy(words, static_cast<const void*>(array.get()), sizeof(words));
  const auto word = [](const void* p) { return reinterpret_cast<long>(p); };
  EXPECT_EQ(words[1], word(static_cast<VakGenAlloc*>(&manager)));
  EXPECT_EQ(words[2], 11);  // capacity
  EXPECT_EQ(words[3], 15);  // element size
  EXPECT_EQ(words[4], 12);  // size
  EXPECT_EQ(words[5], 13);  // mask
  EXPECT_EQ(words[6], 14);  // shift
  EXPECT_EQ(words[7], word(table));
  array->_data = nullptr;
}

TEST(ArrayI, AdoptsStorageAsItIsGivenAndFreesIt) {
  VakArrayMemory manager;
  auto** table = static_cast<char**>(manager.alloc(2 * sizeof(char*)));
  table[0] = static_cast<char*>(manager.alloc(16));
  table[1] = static_cast<char*>(manager.alloc(16));
  const long requests = manager.getRequestCount();
  const VakArrayOwner array(VakCreate<VakArrayI>(&manager, 4L, 3L, 1L, 1L, 8L, table));
  EXPECT_EQ(manager.getRequestCount(), requests + 1) << "only the object itself";
  const VakIntArray integers(array.get());
  integers[0] = 7;
  integers[2] = 9;
  long last = 0;
  std::memcpy(&last, table[1], sizeof(last));
  EXPECT_EQ(last, 9);
  EXPECT_EQ(array->check(), "");
}

TEST(ArrayI, SizeZeroGivesCapacityOneAndAChunkOfOneElement) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 0);
  EXPECT_EQ(array->_max, 1);
  EXPECT_EQ(array->_size, 0);
  EXPECT_EQ(array->_shift, 0);
  EXPECT_EQ(array->_mod, 0);
  EXPECT_EQ(VakCountChunks(*array), 1);
  EXPECT_EQ(manager.getBytes(), sizeof(VakArrayI) + sizeof(char*) + 8);
  EXPECT_EQ(array->check(), "");
}

TEST(ArrayI, FirstAddToAnEmptyArrayStoresAtIndexZeroWithoutGrowing) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 0);
  const long requests = manager.getRequestCount();
  VakIntArray(array.get()).add(42);
  EXPECT_EQ(manager.getRequestCount(), requests);
  EXPECT_EQ(array->_max, 1);
  EXPECT_EQ(VakIntegers(array), std::vector<long>({42}));
}

TEST(ArrayI, SizeFiveGivesCapacitySixteenAndElementThirteenInChunkThree) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 5);
  EXPECT_EQ(array->_max, 16);
  EXPECT_EQ(array->_mod + 1, 4);
  EXPECT_EQ(VakCountChunks(*array), 2);
  array->grow(14);
  EXPECT_EQ(array->element(13), array->_data[3] + 8);
}

TEST(ArrayI, CapacityIsTheSmallestPowerOfFourThatHoldsTheSize) {
  VakArrayMemory manager;
  for (long size = -2; size <= 1100; ++size) {
    long shift = 0;
    while ((1L << (2 * shift)) < size) ++shift;
    const VakArrayOwner array = VakMakeIntegers(manager, size);
    EXPECT_EQ(array->_shift, shift) << size;
    EXPECT_EQ(array->_mod, (1L << shift) - 1) << size;
    EXPECT_EQ(array->_max, 1L << (2 * shift)) << size;
    EXPECT_EQ(VakCountChunks(*array), size > 0 ? (size + (1L << shift) - 1) >> shift : 1) << size;
  }
}

TEST(ArrayI, SetShiftModFollowsTheWantedCapacity) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 0);
  array->clear();
  struct Case {
    long wanted, shift, mod, max;
  };
  for (const Case& c :
       {Case{0, 0, 0, 1}, Case{1, 0, 0, 1}, Case{2, 1, 1, 4}, Case{4, 1, 1, 4}, Case{5, 2, 3, 16},
        Case{16, 2, 3, 16}, Case{17, 3, 7, 64}, Case{64, 3, 7, 64}, Case{1000, 5, 31, 1024},
        Case{VakArrayI::MaxElements, 31, (1L << 31) - 1, 1L << 62}}) {
    array->_max = c.wanted;
    array->setShiftMod();
    EXPECT_EQ(array->_shift, c.shift) << c.wanted;
    EXPECT_EQ(array->_mod, c.mod) << c.wanted;
    EXPECT_EQ(array->_max, c.max) << c.wanted;
  }
  array->_max = 0;
}

TEST(ArrayI, NewElementsAreZeroAndSoIsTheRestOfTheirChunks) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 5);
  for (long i = 0; i < 8; ++i) EXPECT_EQ(VakIntArray(array.get())[i], 0) << i;
}

TEST(ArrayI, ZeroDataClearsWholeChunksInUseAndNoOthers) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 16);
  const VakIntArray integers(array.get());
  for (long i = 0; i < 16; ++i) integers[i] = 1;
  array->_size = 5;
  array->zeroData();
  for (long i = 0; i < 16; ++i) EXPECT_EQ(integers[i], i < 8 ? 0 : 1) << i;
  array->_size = 0;
  array->zeroData();
  EXPECT_EQ(integers[8], 1);
}

TEST(ArrayI, NegativeSizesAreKeptAsGiven) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, -3);
  EXPECT_EQ(array->getSize(), -3);
  EXPECT_EQ(array->_max, 1);
  EXPECT_EQ(VakCountChunks(*array), 1);
  EXPECT_TRUE(VakIntegers(array).empty());
}

TEST(ArrayI, AppendingToANegativeSizeCountsUpAndStoresNothingBeforeTheFirstElement) {
  VakArrayMemory manager;
  for (const long room : {1L, 30L}) {
    const VakArrayOwner array = VakMakeIntegers(manager, -3);
    array->grow(room);
    const VakIntArray integers(array.get());
    for (long i = 0; i < 8; ++i) {
      integers.add(100 + i);
      EXPECT_EQ(array->_size, i - 2);
    }
    EXPECT_EQ(VakIntegers(array), std::vector<long>({103, 104, 105, 106, 107}));
    EXPECT_EQ(array->check(), "");
  }
}

TEST(ArrayI, JoiningToANegativeSizeDropsWhatWouldLieBeforeTheFirstElement) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, -3);
  const VakArrayOwner other = VakMakeCounting(manager, 5);
  array->addArray(other.get());
  EXPECT_EQ(VakIntegers(array), std::vector<long>({3, 4}));
  const long values[] = {5, 6, 7};
  const VakArrayOwner third = VakMakeIntegers(manager, -2);
  third->addElements(values, 3);
  EXPECT_EQ(VakIntegers(third), std::vector<long>({7}));
  const VakArrayOwner fourth = VakMakeIntegers(manager, -20);
  fourth->addArray(other.get());
  fourth->addElements(values, 3);
  EXPECT_EQ(fourth->_size, -12);
}

TEST(ArrayI, JoiningAnArrayOfNegativeSizeOnlyLowersTheSize) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 5);
  const VakArrayOwner other = VakMakeIntegers(manager, -2);
  array->addArray(other.get());
  EXPECT_EQ(VakIntegers(array), countingTo(3));
  array->clear();
  array->addArray(other.get());
  EXPECT_EQ(array->_size, -2);
  EXPECT_EQ(array->_data, nullptr);
}

TEST(ArrayI, CopyHasTheSameGeometryAndElements) {
  VakArrayMemory manager;
  for (long size = 0; size <= 70; ++size) {
    const VakArrayOwner array = VakMakeCounting(manager, size);
    const VakArrayOwner copy(VakCreate<VakArrayI>(&manager, array.get()));
    EXPECT_EQ(VakIntegers(copy), countingTo(size));
    EXPECT_EQ(copy->_max, array->_max);
    EXPECT_EQ(copy->_shift, array->_shift);
    EXPECT_EQ(VakCountChunks(*copy), VakCountChunks(*array));
    EXPECT_EQ(copy->check(), "");
  }
}

TEST(ArrayI, CopyTakesWholeChunksAndNoneBeyondTheLastInUse) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 16);
  array->remove(5, 11);
  const VakArrayOwner copy(VakCreate<VakArrayI>(&manager, array.get()));
  EXPECT_EQ(VakCountChunks(*copy), 2);
  EXPECT_EQ(VakIntArray(copy.get())[7], 7) << "behind the last element, yet in its chunk";
}

TEST(ArrayI, CopyOfAClearedArrayHasCapacityZeroAndStorageAndStillGrows) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 50);
  array->clear();
  const VakArrayOwner copy(VakCreate<VakArrayI>(&manager, array.get()));
  EXPECT_EQ(copy->_max, 0);
  EXPECT_EQ(copy->_mod, 7);
  EXPECT_EQ(VakCountChunks(*copy), 1);
  EXPECT_EQ(copy->check(), "");
  for (long i = 0; i < 20; ++i) VakIntArray(copy.get()).add(i);
  EXPECT_EQ(VakIntegers(copy), countingTo(20));
  EXPECT_EQ(copy->check(), "");
}

TEST(ArrayI, ClearGivesStorageBackAndKeepsTheShiftAndTheMask) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 50);
  array->clear();
  EXPECT_EQ(array->_data, nullptr);
  EXPECT_EQ(array->_size, 0);
  EXPECT_EQ(array->_max, 0);
  EXPECT_EQ(array->_shift, 3);
  EXPECT_EQ(array->_mod, 7);
  EXPECT_EQ(manager.getBytes(), sizeof(VakArrayI));
  array->clear();
  EXPECT_EQ(array->check(), "");
}

TEST(ArrayI, ClearFreesChunksBeyondTheLastInUse) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 64);
  array->remove(0, 60);
  array->clear();
  EXPECT_EQ(manager.getBytes(), sizeof(VakArrayI));
}

TEST(ArrayI, GrowToThreeAfterClearGivesCapacityFourAndChunkLengthTwo) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 50);
  array->clear();
  array->grow(3);
  EXPECT_EQ(array->_max, 4);
  EXPECT_EQ(array->_mod + 1, 2);
  EXPECT_EQ(VakCountChunks(*array), 2);
  EXPECT_EQ(array->_size, 0);
  EXPECT_EQ(array->check(), "");
}

TEST(ArrayI, AddAfterClearBeginsAnew) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 50);
  array->clear();
  VakIntArray(array.get()).add(5);
  EXPECT_EQ(array->_max, 1);
  EXPECT_EQ(VakIntegers(array), std::vector<long>({5}));
}

TEST(ArrayI, RemoveOfAllElementsEmptiesWithoutFreeingStorage) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 50);
  const unsigned long bytes = manager.getBytes();
  array->remove(0, array->_size);
  EXPECT_EQ(array->_size, 0);
  EXPECT_EQ(array->_max, 64);
  EXPECT_EQ(manager.getBytes(), bytes);
}

TEST(ArrayI, RemoveBeforeTheFirstElementThrows) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 6);
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { array->remove(-1, 0); }),
            "invalid index for first element to remove");
  EXPECT_EQ(VakIntegers(array), countingTo(6));
}

TEST(ArrayI, RemoveOfMoreThanThereIsThrows) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 6);
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { array->remove(2, 5); }),
            "Trying to remove to much elements");
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { array->remove(7, 0); }),
            "Trying to remove to much elements");
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { array->remove(2, LONG_MAX); }),
            "Trying to remove to much elements");
  EXPECT_EQ(VakMessageOf<VakArrayError>([&] { array->remove(-1, 50); }),
            "invalid index for first element to remove");
  EXPECT_EQ(VakIntegers(array), countingTo(6));
}

TEST(ArrayI, RemoveOfNothingAtTheEndIsAllowed) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 6);
  array->remove(6, 0);
  EXPECT_EQ(VakIntegers(array), countingTo(6));
}

TEST(ArrayI, RemoveClosesEveryGap) {
  VakArrayMemory manager;
  for (const long size : {1L, 4L, 5L, 17L, 40L}) {
    for (long first = 0; first < size; ++first) {
      for (long n = 0; n <= size - first; ++n) {
        const VakArrayOwner array = VakMakeCounting(manager, size);
        array->remove(first, n);
        std::vector<long> expected = countingTo(size);
        expected.erase(expected.begin() + first, expected.begin() + first + n);
        EXPECT_EQ(VakIntegers(array), expected) << size << ' ' << first << ' ' << n;
      }
    }
  }
}

TEST(ArrayI, RemoveOfANegativeCountRepeatsElementsOneByOne) {
  VakArrayMemory manager;
  for (long n = 1; n <= 5; ++n) {
    for (long first = n; first <= 20; ++first) {
      const VakArrayOwner array = VakMakeCounting(manager, 20);
      array->grow(25);
      std::vector<long> expected = countingTo(25);
      for (long i = first - n; i < 20; ++i) {
        expected[static_cast<std::size_t>(i + n)] = expected[static_cast<std::size_t>(i)];
      }
      expected.resize(static_cast<std::size_t>(20 + n));
      array->remove(first, -n);
      EXPECT_EQ(VakIntegers(array), expected) << first << ' ' << n;
    }
  }
}

TEST(ArrayI, AddArrayAppendsAllElementsOfTheOther) {
  VakArrayMemory manager;
  for (long size = 0; size <= 20; ++size) {
    for (long further = 0; further <= 70; ++further) {
      const VakArrayOwner array = VakMakeCounting(manager, size);
      const VakArrayOwner other = VakMakeCounting(manager, further);
      array->addArray(other.get());
      std::vector<long> expected = countingTo(size);
      const std::vector<long> tail = countingTo(further);
      expected.insert(expected.end(), tail.begin(), tail.end());
      EXPECT_EQ(VakIntegers(array), expected) << size << ' ' << further;
      EXPECT_EQ(array->check(), "");
    }
  }
}

TEST(ArrayI, AddArrayOfItselfDoublesTheArray) {
  VakArrayMemory manager;
  for (long size = 0; size <= 70; ++size) {
    const VakArrayOwner array = VakMakeCounting(manager, size);
    array->addArray(array.get());
    std::vector<long> expected = countingTo(size);
    const std::vector<long> tail = expected;
    expected.insert(expected.end(), tail.begin(), tail.end());
    EXPECT_EQ(VakIntegers(array), expected) << size;
    EXPECT_EQ(array->check(), "");
  }
}

TEST(ArrayI, AddArrayOfNothingToAClearedArrayMakesStorageForOneElement) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 5);
  const VakArrayOwner other = VakMakeIntegers(manager, 0);
  array->clear();
  array->addArray(other.get());
  EXPECT_EQ(array->_max, 1);
  EXPECT_EQ(array->_size, 0);
}

TEST(ArrayI, AnyElementSizeWorks) {
  VakArrayMemory manager;
  for (const long elementSize : {1L, 2L, 3L, 4L, 12L, 16L, 24L, 100L}) {
    const VakArrayOwner array(VakCreate<VakArrayI>(&manager, 5L, elementSize));
    const VakArrayOwner other(VakCreate<VakArrayI>(&manager, 9L, elementSize));
    const auto fill = [&](VakArrayI& a, long from) {
      for (long i = 0; i < a._size; ++i) {
        std::memset(a.element(i), static_cast<int>(from + i), static_cast<size_t>(elementSize));
      }
    };
    fill(*array, 0);
    fill(*other, 5);
    for (int round = 0; round < 3; ++round) array->addArray(other.get());
    array->remove(14, 18);
    array->grow(70);
    const VakArrayOwner copy(VakCreate<VakArrayI>(&manager, array.get()));
    ASSERT_EQ(copy->_size, 14);
    for (long i = 0; i < 14; ++i) {
      for (long b = 0; b < elementSize; ++b) EXPECT_EQ(copy->element(i)[b], i) << elementSize;
    }
    EXPECT_EQ(copy->check(), "");
  }
}

TEST(ArrayI, DeletionGivesEverythingBackToItsMemoryManager) {
  VakArrayMemory manager;
  VakMakeCounting(manager, 100).reset();
  EXPECT_EQ(manager.getBlockCount(), 0);
}

TEST(ArrayI, GetEnvOfAForeignMemoryManagerThrows) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 1);
  EXPECT_THROW((void)array->getEnv(), VakEnv::IncompatibleMemoryManagerException);
}

TEST(ArrayI, WantedCountsBeyondTheLargestThrowBeforeAnyFieldChanges) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 5);
  const long requests = manager.getRequestCount();
  EXPECT_THROW(array->grow(VakArrayI::MaxElements + 1), std::bad_alloc);
  EXPECT_THROW(array->grow(LONG_MAX), std::bad_alloc);
  EXPECT_THROW(array->grow(VakArrayI::MaxElements), std::bad_alloc);
  EXPECT_EQ(manager.getRequestCount(), requests);
  EXPECT_EQ(VakIntegers(array), countingTo(5));
  EXPECT_EQ(array->check(), "");
  EXPECT_THROW((void)VakCreate<VakArrayI>(&manager, LONG_MAX, 8L), std::bad_alloc);
  EXPECT_THROW((void)VakCreate<VakArrayI>(&manager, 1L << 50, 8L), std::bad_alloc);
  EXPECT_THROW((void)VakCreate<VakArrayI>(&manager, 4L, LONG_MAX), std::bad_alloc);
}

TEST(ArrayI, SetShiftModBeyondTheLargestCountChangesNothing) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeIntegers(manager, 5);
  array->_max = VakArrayI::MaxElements + 1;
  EXPECT_THROW(array->setShiftMod(), std::bad_alloc);
  EXPECT_EQ(array->_max, VakArrayI::MaxElements + 1);
  EXPECT_EQ(array->_shift, 2);
  EXPECT_EQ(array->_mod, 3);
  array->_max = 16;
}

TEST(ArrayI, JoiningBeyondTheLargestCountThrowsAndChangesNothing) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 5);
  const VakArrayOwner other = VakMakeCounting(manager, 5);
  other->_size = LONG_MAX;
  EXPECT_THROW(array->addArray(other.get()), std::bad_alloc);
  other->_size = VakArrayI::MaxElements;
  EXPECT_THROW(array->addArray(other.get()), std::bad_alloc);
  EXPECT_EQ(VakIntegers(array), countingTo(5));
  other->_size = 5;
}

TEST(ArrayI, CheckNamesWhatIsBroken) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 5);
  array->_size = 17;
  EXPECT_EQ(array->check(), "the size exceeds the capacity");
  array->_size = 9;
  EXPECT_EQ(array->check(), "a chunk in use is missing");
  array->_size = 5;
  array->_mod = 1;
  EXPECT_EQ(array->check(), "the mask is not the chunk length minus 1");
  array->_mod = 3;
  array->_max = 4;
  EXPECT_EQ(array->check(), "the capacity is not the square of the chunk length");
  array->_max = 16;
  std::swap(array->_data[1], array->_data[3]);
  array->_size = 4;
  EXPECT_EQ(array->check(), "a chunk stands behind a gap in the table");
  std::swap(array->_data[1], array->_data[3]);
  array->_size = 5;
  array->_shift = 32;
  EXPECT_EQ(array->check(), "the shift is out of range");
  array->_shift = -1;
  EXPECT_EQ(array->check(), "the shift is out of range");
  array->_shift = 2;
  EXPECT_EQ(array->check(), "");
  char** const data = std::exchange(array->_data, nullptr);
  EXPECT_EQ(array->check(), "an array without storage claims capacity or elements");
  array->_data = data;
}

TEST(ArrayError, IsAVakExceptionThatOnlyCarriesItsMessage) {
  try {
    throw VakArrayError("some text");
  } catch (const VakException& error) {
    EXPECT_STREQ(error.getMessage(), "some text");
    EXPECT_STREQ(error.what(), "some text");
  }
  EXPECT_EQ(sizeof(VakArrayError), sizeof(VakException));
}

}  // namespace
