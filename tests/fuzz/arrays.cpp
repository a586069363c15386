// Arrays of three sizes of elements, each beside a std::vector.

#include "vakenv/arrays.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <vector>

#include "tests/fuzz/program.h"

namespace {

/// An element whose size is no power of two.
struct Triple {
  unsigned char bytes[3] = {};
  friend bool operator==(const Triple& a, const Triple& b) {
    return std::memcmp(a.bytes, b.bytes, sizeof a.bytes) == 0;
  }
};

template <class T>
T makeValue(int n) {
  if constexpr (std::is_arithmetic_v<T>) {
    return static_cast<T>(n) - 100;
  } else {
    T value;
    for (auto& byte : value.bytes) byte = static_cast<unsigned char>(n++);
    return value;
  }
}

/// Some arrays of one type, each beside what it has to hold.
template <class T>
class Arrays {
 public:
  explicit Arrays(VakFuzzProgram& program) : _program(program), _env(program) {
    _base = _env.env.getMemoryUsage();
  }
  ~Arrays() noexcept(false) {
    for (Slot& slot : _slots) slot.array.end();
    VAK_FUZZ_REQUIRE(_env.env.getMemoryUsage() == _base);
  }

  void run() {
    while (!_program.isOver()) {
      Slot& slot = _slots[static_cast<std::size_t>(_program.below(Slots))];
      if (slot.array.getImpl() == nullptr) {
        make(slot);
      } else if (slot.missing > 0) {
        changeNegative(slot);
      } else {
        change(slot);
      }
      compare(slot);
      _env.check();
    }
  }

 private:
  static constexpr int Slots = 4;
  static constexpr std::size_t Most = 5000;  ///< An array that is longer only shrinks.

  struct Slot {
    VakArray<T> array;
    std::vector<T> values;
    VakInt missing = 0;  ///< How far the size is below 0.
  };

  Slot& other() { return _slots[static_cast<std::size_t>(_program.below(Slots))]; }
  T value() { return makeValue<T>(_program.byte()); }
  std::vector<T> values() {
    std::vector<T> some(static_cast<std::size_t>(_program.byte()));
    int n = _program.byte();
    for (T& x : some) x = makeValue<T>(n++ & 255);
    return some;
  }

  void make(Slot& slot) {
    slot.values.clear();
    slot.missing = 0;
    switch (_program.below(4)) {
      case 0:
        slot.array = VakArray<T>(_env.env, _program.byte());
        slot.values.resize(static_cast<std::size_t>(slot.array.getSize()));
        break;
      case 1:
        slot.values = values();
        slot.array = VakArray<T>::From(_env.env, slot.values);
        break;
      case 2:
        slot.missing = _program.below(5);
        slot.array = VakArray<T>(_env.env, -slot.missing);
        break;
      default: {
        const Slot& from = other();
        if (from.array.getImpl() == nullptr) break;
        slot.array =
            VakArray<T>(VakCreate<VakArrayI>(_env.env.getMemoryManager(), from.array.getImpl()));
        slot.values = from.values;
        slot.missing = from.missing;
      }
    }
  }

  void changeNegative(Slot& slot) {
    if (_program.flag()) {
      slot.array.add(value());
      --slot.missing;
    } else if (_program.flag()) {
      const std::vector<T> some = values();
      slot.array.append(some);
      for (const T& x : some) slot.missing > 0 ? void(--slot.missing) : slot.values.push_back(x);
    } else {
      slot.array.end();
      slot.missing = 0;
    }
  }

  void change(Slot& slot) {
    const bool mayGrow = slot.values.size() < Most;
    switch (_program.below(11)) {
      case 0:
      case 1:
        if (!mayGrow) break;
        slot.array.add(value());
        slot.values.push_back(slot.array[slot.array.getSize() - 1]);
        break;
      case 2:
        if (mayGrow) appendValues(slot);
        break;
      case 3:
        if (mayGrow) appendArray(slot);
        break;
      case 4:
        remove(slot);
        break;
      case 5:
        slot.array.clear();
        slot.values.clear();
        break;
      case 6:
        slot.array.end();
        slot.values.clear();
        break;
      case 7:
        slot.array.getImpl()->grow(4L * _program.byte());
        break;
      case 8:
        if (!slot.values.empty()) set(slot);
        break;
      case 9:
        move(slot);
        break;
      default:
        addOneOfItself(slot);
    }
  }

  void appendValues(Slot& slot) {
    const std::vector<T> some = values();
    if (_program.flag()) {
      slot.array.append(some);
    } else {
      for (const T& x : some) slot.array.add(x);
    }
    slot.values.insert(slot.values.end(), some.begin(), some.end());
  }
  void appendArray(Slot& slot) {
    const Slot& from = other();
    if (from.array.getImpl() == nullptr || from.missing > 0) return;
    slot.array.append(from.array);
    const std::vector<T> some = from.values;
    slot.values.insert(slot.values.end(), some.begin(), some.end());
  }
  void addOneOfItself(Slot& slot) {
    if (slot.values.empty() || slot.values.size() >= Most) return;
    const VakInt i = indexIn(slot);
    slot.array.add(slot.array[i]);
    slot.values.push_back(T(slot.values[static_cast<std::size_t>(i)]));
  }
  void remove(Slot& slot) {
    const VakInt first = 4L * _program.byte() - 4;
    const VakInt n = _program.byte();
    const auto size = static_cast<VakInt>(slot.values.size());
    const std::string message = VakFuzzMessage<VakArrayError>([&] { slot.array.remove(first, n); });
    if (first < 0) {
      VAK_FUZZ_REQUIRE(message == "invalid index for first element to remove");
    } else if (n > size - first) {
      VAK_FUZZ_REQUIRE(message == "Trying to remove to much elements");
    } else {
      VAK_FUZZ_REQUIRE(message.empty());
      slot.values.erase(slot.values.begin() + first, slot.values.begin() + first + n);
    }
  }
  VakInt indexIn(const Slot& slot) {
    return (256L * _program.byte() + _program.byte()) % static_cast<VakInt>(slot.values.size());
  }
  void set(Slot& slot) {
    const VakInt i = indexIn(slot);
    slot.array[i] = value();
    slot.values[static_cast<std::size_t>(i)] = slot.array[i];
  }
  // Elements of one array onto those of another or, towards the front, of the same.
  void move(Slot& slot) {
    const Slot& from = other();
    if (slot.values.empty() || from.values.empty() || from.missing > 0) return;
    const VakInt to = indexIn(slot);
    const VakInt at = indexIn(from);
    if (&from == &slot && to > at) return;
    const VakInt n = std::min({static_cast<VakInt>(slot.values.size()) - to,
                               static_cast<VakInt>(from.values.size()) - at,
                               static_cast<VakInt>(_program.byte())});
    slot.array.getImpl()->copyElements(to, from.array.getImpl(), at, n);
    const std::vector<T> some(from.values.begin() + at, from.values.begin() + at + n);
    std::copy(some.begin(), some.end(), slot.values.begin() + to);
  }

  static void compare(const Slot& slot) {
    if (slot.array.getImpl() == nullptr) return;
    VAK_FUZZ_SOUND(slot.array.getImpl()->check());
    const auto size = static_cast<VakInt>(slot.values.size());
    VAK_FUZZ_REQUIRE(slot.array.getSize() == size - slot.missing);
    for (VakInt i = 0; i < size; ++i) {
      VAK_FUZZ_REQUIRE(slot.array[i] == slot.values[static_cast<std::size_t>(i)]);
    }
    VAK_FUZZ_REQUIRE(
        std::equal(begin(slot.array), end(slot.array), slot.values.begin(), slot.values.end()));
    std::size_t seen = 0;
    for (const auto chunk : slot.array.chunks()) {
      for (const T& x : chunk) VAK_FUZZ_REQUIRE(x == slot.values.at(seen++));
    }
    VAK_FUZZ_REQUIRE(seen == slot.values.size());
  }

  VakFuzzProgram& _program;
  VakFuzzEnv _env;
  VakInt _base = 0;  ///< Memory in use without arrays.
  std::array<Slot, Slots> _slots;
};

/// Ascending integers without equal ones, as the intersection takes them.
std::vector<VakInt> makeAscending(VakFuzzProgram& program) {
  std::vector<VakInt> some(static_cast<std::size_t>(4 * program.byte()));
  VakInt last = program.byte();
  const int widest = 1 + program.below(4);
  for (VakInt& x : some) x = last += 1 + program.below(widest);
  return some;
}

/// What arrays of integers and of numbers can do beyond the others.
void runTyped(VakFuzzProgram& program) {
  VakFuzzEnv scope(program);
  const VakEnv env = scope.env;
  while (!program.isOver()) {
    std::vector<VakInt> a = makeAscending(program);
    const std::vector<VakInt> b = makeAscending(program);
    VakIntArray x = VakIntArray::From(env, a);
    VakIntArray y = VakIntArray::From(env, b);
    std::vector<VakInt> both;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(both));
    VakIntArray common = intersectOrderedIndex(env, x, y);
    VAK_FUZZ_REQUIRE(std::equal(begin(common), end(common), both.begin(), both.end()));
    VAK_FUZZ_REQUIRE(both.empty() == (common.getImpl() == nullptr));
    if (common.getImpl() != nullptr) VAK_FUZZ_REQUIRE(x.contains(common) && y.contains(common));

    const VakInt v = program.byte();
    const auto found = std::find(a.begin(), a.end(), v);
    VAK_FUZZ_REQUIRE(x.contains(v) == (found != a.end()));
    x.discard(v);
    if (found != a.end()) a.erase(found);
    x.discard(y);
    std::erase_if(a, [&](VakInt e) { return std::binary_search(b.begin(), b.end(), e); });
    VAK_FUZZ_REQUIRE(std::equal(begin(x), end(x), a.begin(), a.end()));
    VakNumArray numbers = x.toNumArray();
    VAK_FUZZ_REQUIRE(numbers.areElementsInteger());
    VakIntArray back = numbers.toIntArray();
    VAK_FUZZ_REQUIRE(VakIntArray2::equal(x, back));
    numbers.add(0.5);
    VAK_FUZZ_REQUIRE(!numbers.areElementsInteger());
    for (VakIntArray* array : {&x, &y, &common, &back}) {
      if (array->getImpl() != nullptr) VAK_FUZZ_SOUND(array->getImpl()->check());
      array->end();
    }
    numbers.end();
    scope.check();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  switch (program.below(4)) {
    case 0:
      Arrays<VakInt>(program).run();
      break;
    case 1:
      Arrays<VakNum>(program).run();
      break;
    case 2:
      Arrays<Triple>(program).run();
      break;
    default:
      runTyped(program);
  }
  return 0;
}
