// Arrays.

#include <cstddef>
#include <iterator>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/arrays.h"

namespace {

// Whether an array holds 0, 1, 2, ... up to its size, and how many of them.
std::string checkCounting(VakIntArray array) {
  const std::string defect = array.getImpl()->check();
  if (!defect.empty()) return defect;
  for (VakInt i = 0; i < array.getSize(); ++i) {
    if (array[i] != i) return "element " + std::to_string(i);
  }
  return "";
}

VakIntArray makeCounting(VakStage& s, VakInt size) {
  VakIntArray array(s.env, size);
  for (VakInt i = 0; i < size; ++i) array[i] = i;
  return array;
}

// Numbers from 0 on, each of which is a callback.
class Asked {
 public:
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = VakInt;
    using difference_type = std::ptrdiff_t;
    using pointer = const VakInt*;
    using reference = VakInt;

    Iterator() = default;
    explicit Iterator(VakInt number) : _number(number) {}
    VakInt operator*() const {
      VakFailingCallback::Tick();
      return _number;
    }
    Iterator& operator++() {
      ++_number;
      return *this;
    }
    Iterator operator++(int) { return Iterator(_number++); }
    friend bool operator==(Iterator a, Iterator b) { return a._number == b._number; }

   private:
    VakInt _number = 0;
  };

  explicit Asked(VakInt count) : _count(count) {}
  [[nodiscard]] Iterator begin() const { return Iterator(0); }
  [[nodiscard]] Iterator end() const { return Iterator(_count); }

 private:
  VakInt _count;
};

Asked askFor(VakInt count) { return Asked(count); }

// Makes an array, in whatever way, that undo() ends.
template <class Array>
VakScene making(VakStage& s, Array (*make)(VakStage& s)) {
  auto& array = s.keep<Array>();
  return {.act = [&array, &s, make] { array = make(s); },
          .undo = [&array] { array.end(); },
          .afterSuccess = [&array] { return array.getImpl()->check(); }};
}

// The place of a handle whose constructor takes values. A constructor that throws leaves the array
// that it made there, and whoever owns the place ends it.
template <class Array>
union Place {
  Place() : impl(nullptr) {}
  ~Place() {}  // NOLINT(modernize-use-equals-default): the handle need not be there.
  VakArrayI* impl;
  Array array;
};

template <class Array, class... Values>
VakScene makingOf(VakStage& s, VakInt n, Values... values) {
  auto& place = s.keep<Place<Array>>();
  const auto make = [&place, &s, n, values...] {
    ::new (static_cast<void*>(&place)) Array(s.env, n, values...);
  };
  return {.act = make,
          .undo = [&place] { place.array.end(); },
          .prepare =
              [&place] {
                VakArray<VakInt>(place.impl).end();
                place.impl = nullptr;
              },
          .afterSuccess = [&place, n]() -> std::string {
            if (place.array.getSize() != n) return "its size";
            return place.array.getImpl()->check();
          },
          .mayKeep = "the place of the handle refers to the array that was made"};
}

constexpr const char* Cleared =
    "an array that ran out of memory half way is as after clear(), or has grown";

const std::vector<VakFaultOperation> _operations = {
    {"make an array of numbers", "VakNumArray::VakNumArray VakArray::VakArray* VakArrayI::Make*",
     [](VakStage& s) {
       return making<VakNumArray>(s, [](VakStage& stage) { return VakNumArray(stage.env, 300); });
     }},
    {"make an array of numbers in a user's memory manager", "VakNumArray::VakNumArray",
     [](VakStage& s) {
       auto& allocator = s.keep<VakUserAllocator>(s.allocator());
       auto& array = s.keep<VakNumArray>();
       return VakScene{.act = [&] { array = VakNumArray(VakMemoryManager(&allocator), 300); },
                       .undo = [&] { array.end(); }};
     }},
    {"make an array of one number", "VakNumArray::VakNumArray",
     [](VakStage& s) { return makingOf<VakNumArray>(s, 1, 2.5); }},
    {"make an array of a list of numbers", "VakNumArray::VakNumArray VakVarArgsNum::VakVarArgsNum",
     [](VakStage& s) {
       return makingOf<VakNumArray>(s, 5, 1.5, VakVarArgsNum(2.5), 3.5, 4.5, 5.5);
     }},
    {"make an array of numbers of a list of plain integers", "VakNumArray::VakNumArray",
     [](VakStage& s) { return makingOf<VakNumArray>(s, 3, 1, VakVarArgsNum(2), 3); }},
    {"make an array of numbers of a list of integers", "VakNumArray::VakNumArray",
     [](VakStage& s) { return makingOf<VakNumArray>(s, 3, 1L, VakVarArgsNum(2), 3L); }},
    {"make an array of integers", "VakIntArray::VakIntArray",
     [](VakStage& s) {
       return making<VakIntArray>(s, [](VakStage& t) {
         VakIntArray(t.env.getMemoryManager(), 70).end();
         return VakIntArray(t.env, 70);
       });
     }},
    {"make an array of one integer", "VakIntArray::VakIntArray",
     [](VakStage& s) { return makingOf<VakIntArray>(s, 1, 7L); }},
    {"make an array of a list of integers", "VakIntArray::VakIntArray VakVarArgsInt::VakVarArgsInt",
     [](VakStage& s) { return makingOf<VakIntArray>(s, 5, 1L, VakVarArgsInt(2), 3L, 4L, 5L); }},
    {"make an array of a list of plain integers", "VakIntArray::VakIntArray",
     [](VakStage& s) { return makingOf<VakIntArray>(s, 3, 1, VakVarArgsInt(2), 3); }},
    {"make an array of truth values", "VakBoolArray::VakBoolArray",
     [](VakStage& s) {
       return making<VakBoolArray>(s, [](VakStage& t) { return VakBoolArray(t.env, 70); });
     }},
    {"make an array of one truth value", "VakBoolArray::VakBoolArray",
     [](VakStage& s) { return makingOf<VakBoolArray>(s, 1, 1L); }},
    {"make an array of a list of truth values", "VakBoolArray::VakBoolArray",
     [](VakStage& s) { return makingOf<VakBoolArray>(s, 3, 1L, VakVarArgsInt(0), 1L); }},
    {"make an array of rows of numbers", "VakNumArray2::VakNumArray2",
     [](VakStage& s) {
       return making<VakNumArray2>(s, [](VakStage& t) { return VakNumArray2(t.env, 20); });
     }},
    {"make an array of rows of integers", "VakIntArray2::VakIntArray2",
     [](VakStage& s) {
       return making<VakIntArray2>(s, [](VakStage& t) { return VakIntArray2(t.env, 20); });
     }},
    {"make an array of a list in braces",
     "VakArray::From VakNumArray::From VakBoolArray::From VakNumArray2::From VakIntArray2::From",
     [](VakStage& s) {
       return making<VakNumArray2>(s, [](VakStage& t) {
         VakArray<VakInt>::From(t.env, {1, 2, 3}).end();
         VakNumArray::From(t.env, {1, 2, 3, 4, 5}).end();
         VakBoolArray::From(t.env, {1, 0}).end();
         VakIntArray2::From(t.env, {VakIntArray(), VakIntArray()}).end();
         return VakNumArray2::From(t.env, {VakNumArray(), VakNumArray()});
       });
     }},
    {"make an array of a range", "VakIntArray::From",
     [](VakStage& s) {
       return making<VakIntArray>(
           s, [](VakStage& t) { return VakIntArray::From(t.env, askFor(100)); });
     }},
    {"copy an array", "VakArrayI::VakArrayI",
     [](VakStage& s) {
       VakIntArray original = makeCounting(s, 100);
       auto& copy = s.keep<VakArrayI*>(nullptr);
       return VakScene{
           .act = [&s, &copy, original] { copy = VakCreate<VakArrayI>(s.env, original.getImpl()); },
           .undo = [&copy] { delete copy; }};
     }},
    {"add elements one by one",
     "VakArray::add VakArrayI::growAhead* VakArrayI::isAppendWithinChunk* "
     "VakArrayI::IsWithinChunk* VakArrayI::keepGeometryInRegisters*",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(s.env, 0);
       return VakScene{.act =
                           [&] {
                             while (array.getSize() < 300) array.add(array.getSize());
                           },
                       .undo = [&] { array.end(); },
                       .afterFailure = [&] { return checkCounting(array); },
                       .afterSuccess = [&] { return checkCounting(array); },
                       .mayKeep = Cleared};
     }},
    {"append an array to itself and a list in braces",
     "VakArray::append VakArrayI::addArray* VakArrayI::addElements*",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(makeCounting(s, 20));
       return VakScene{.act =
                           [&] {
                             array.append(array);
                             array.append({1, 2, 3});
                           },
                       .undo = [&] { array.end(); },
                       .prepare =
                           [&] {
                             array.clear();
                             for (VakInt i = 0; i < 20; ++i) array.add(i);
                           },
                       .afterFailure = [&] { return array.getImpl()->check(); },
                       .afterSuccess = [&]() -> std::string {
                         return array.getSize() == 43 ? array.getImpl()->check() : "its size";
                       },
                       .mayKeep = Cleared};
     }},
    {"append a range", "VakArray::append",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(s.env, 0);
       return VakScene{.act = [&] { array.append(askFor(100)); },
                       .undo = [&] { array.end(); },
                       .prepare = [&] { array.clear(); },
                       .afterFailure = [&] { return checkCounting(array); },
                       .afterSuccess = [&] { return checkCounting(array); },
                       .mayKeep = Cleared};
     }},
    {"grow an array past its capacity",
     "VakArrayI::grow VakArrayTally::count* VakArrayI::getSize VakArrayI::element",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(makeCounting(s, 64));
       return VakScene{.act = [&] { array.getImpl()->grow(5000); },
                       .undo = [&] { array.end(); },
                       .afterFailure = [&]() -> std::string {
                         VakArrayI* impl = array.getImpl();
                         if (impl->getSize() != 0 && impl->getSize() != 64) return "its size";
                         if (impl->getSize() == 64 && impl->element(0) == nullptr) return "a null";
                         return checkCounting(array);
                       },
                       .mayKeep = Cleared};
     }},
    {"clear an array and use it again", "VakArray::clear VakArrayI::clear",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(makeCounting(s, 64));
       return VakScene{.act =
                           [&] {
                             array.clear();
                             array.getImpl()->clear();
                             array.add(0);
                           },
                       .undo = [&] { array.end(); },
                       .afterFailure = [&] { return checkCounting(array); },
                       .mayKeep = "the array is empty"};
     }},
    {"allocate the storage of an array",
     "VakArrayI::allocData VakArrayI::zeroData VakArrayI::setShiftMod",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(s.env, 0);
       return VakScene{.act =
                           [&] {
                             VakArrayI* impl = array.getImpl();
                             impl->clear();
                             impl->_max = 100;
                             impl->setShiftMod();
                             try {
                               impl->allocData(100);
                             } catch (...) {
                               impl->_max = 0;
                               throw;
                             }
                             impl->_size = 100;
                             impl->zeroData();
                           },
                       .undo = [&] { array.end(); },
                       .afterFailure = [&] { return array.getImpl()->check(); },
                       .mayKeep = "the array is empty"};
     }},
    {"read and shorten an array",
     "VakArray::getImpl VakArray::operator== VakArray::getEnv VakArray::getSize "
     "VakArray::operator[] VakArray::data VakArray::remove VakArray::chunks VakArray::begin "
     "VakArray::end VakArrayI::check VakArrayI::remove VakArrayI::copyElements "
     "VakArrayChunks::operator[] VakArrayChunks::size VakArrayChunks::empty",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(makeCounting(s, 64));
       return VakScene{.act =
                           [&] {
                             const VakArray<VakInt> same = array;
                             VakInt sum = 0;
                             for (const VakInt value : array) sum += value;
                             for (const auto chunk : array.chunks()) sum -= chunk[0];
                             bool fine = sum != 0 && same == array && same.data(3) == array[3];
                             fine = fine && same.getEnv() == s.env && !same.chunks().empty();
                             fine = fine && same.chunks().size() == 8 && same.chunks()[1][0] == 8;
                             fine = fine && end(array) - begin(array) == same.getSize();
                             array.remove(10, 5);
                             same.getImpl()->remove(0, 5);
                             same.getImpl()->copyElements(0, array.getImpl(), 3, 4);
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&] { array.end(); },
                       .afterSuccess = [&] { return array.getImpl()->check(); }};
     }},
    {"print an array", "VakArray::operator<<",
     [](VakStage& s) {
       auto& array = s.keep<VakIntArray>(makeCounting(s, 5));
       auto& out = s.keep<VakUserStream>();
       return VakScene{.act = [&] { out << array; },
                       .undo = [&] { array.end(); },
                       .prepare = [&] { out.clear(); }};
     }},
    {"turn numbers into integers and back",
     "VakNumArray::toIntArray VakIntArray::toNumArray VakIntArray::toAnyArray",
     [](VakStage& s) {
       auto& integers = s.keep<VakIntArray>(makeCounting(s, 64));
       auto& numbers = s.keep<VakNumArray>();
       auto& rounded = s.keep<VakIntArray>();
       auto& pointers = s.keep<VakArray<VakAny>>();
       return VakScene{.act =
                           [&] {
                             numbers.end();
                             rounded.end();
                             pointers.end();
                             numbers = integers.toNumArray();
                             rounded = numbers.toIntArray();
                             pointers = integers.toAnyArray();
                           },
                       .undo =
                           [&] {
                             for (VakIntArray* a : {&integers, &rounded}) a->end();
                             numbers.end();
                             pointers.end();
                           },
                       .mayKeep = "arrays that were made before are held"};
     }},
    {"look into arrays of numbers and integers",
     "VakNumArray::areElementsInteger VakNumArray::areElementsBoolean VakNumArray::contains "
     "VakNumArray::begin VakNumArray::end VakIntArray::areElementsBoolean VakIntArray::contains "
     "VakIntArray::discard VakIntArray::begin VakIntArray::end VakBoolArray::begin "
     "VakBoolArray::end",
     [](VakStage& s) {
       auto& integers = s.keep<VakIntArray>(makeCounting(s, 64));
       auto& numbers = s.keep<VakNumArray>(integers.toNumArray());
       auto& truths = s.keep<VakBoolArray>(s.env, 3);
       return VakScene{.act =
                           [&] {
                             bool fine = numbers.areElementsInteger() && numbers.contains(3);
                             fine = fine && !numbers.areElementsBoolean();
                             fine = fine && !integers.areElementsBoolean();
                             fine = fine && integers.contains(3) && integers.contains(integers);
                             fine = fine && end(numbers) - begin(numbers) == 64;
                             fine = fine && end(truths) - begin(truths) == 3;
                             integers.discard(3);
                             integers.discard(integers);
                             fine = fine && begin(integers) == end(integers);
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo =
                           [&] {
                             integers.end();
                             numbers.end();
                             truths.end();
                           }};
     }},
    {"look into arrays of rows",
     "VakNumArray2::equal VakNumArray2::contains VakNumArray2::containsRow VakNumArray2::begin "
     "VakNumArray2::end VakIntArray2::equal VakIntArray2::contains VakIntArray2::containsRow "
     "VakIntArray2::begin VakIntArray2::end",
     [](VakStage& s) {
       VakIntArray integers = makeCounting(s, 9);
       VakNumArray numbers = integers.toNumArray();
       auto& integerRows = s.keep<VakIntArray2>(s.env, 2, integers);
       auto& numberRows = s.keep<VakNumArray2>(s.env, 2, numbers);
       return VakScene{.act = [&, integers, numbers] {
         bool fine = VakIntArray2::equal(integers, integers) && integerRows.containsRow(integers);
         fine = fine && VakNumArray2::equal(numbers, numbers) && numberRows.containsRow(numbers);
         fine = fine && !integerRows.contains(integers) && !numberRows.contains(numbers);
         fine = fine && end(integerRows) - begin(integerRows) == 3;
         fine = fine && end(numberRows) - begin(numberRows) == 3;
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"intersect ordered indices", "intersectOrderedIndex",
     [](VakStage& s) {
       VakIntArray a = makeCounting(s, 100);
       VakIntArray b = makeCounting(s, 80);
       auto& common = s.keep<VakIntArray>();
       return VakScene{.act =
                           [&s, &common, a, b] {
                             intersectOrderedIndex(s.env.getMemoryManager(), a, a).end();
                             common = intersectOrderedIndex(s.env, a, b);
                           },
                       .undo = [&common] { common.end(); },
                       .afterSuccess = [&common] { return checkCounting(common); }};
     }},
};

}  // namespace

VakFaultGroup VakArrayFaults() { return {"Arrays", _operations}; }
