// The identifier manager beside a map and a stack of what was given back.

#include <map>
#include <optional>
#include <vector>

#include "tests/fuzz/program.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"

namespace {

class Identifiers {
 public:
  explicit Identifiers(VakFuzzProgram& program)
      : _program(program), _env(program), _ids(&_env.env.getImpl()->_memory) {}
  ~Identifiers() { _ids.end(); }

  void run() {
    while (!_program.isOver()) {
      step();
      compare();
      _env.check();
    }
  }

 private:
  void step() {
    switch (_program.below(6)) {
      case 0:
      case 1:
        book();
        break;
      case 2:
        for (int n = _program.byte(); n > 0; --n) book();
        break;
      case 3:
        release();
        break;
      case 4:
        for (int n = _program.byte(); n > 0; --n) release();
        break;
      default:
        atTheEdge();
    }
  }

  void book() {
    if (_booked.size() > Most) return;
    // Null and the mark of what is hidden count as occupied, like every object.
    static int objects[8];
    void* values[] = {nullptr, VakIdManager::HiddenMark(), &objects[0], &objects[4]};
    void* value = values[_booked.size() % 4];
    VakInt expected = _fresh;
    if (_released.empty()) {
      ++_fresh;
    } else {
      expected = _released.back();
      _released.pop_back();
    }
    VAK_FUZZ_REQUIRE(_ids.newId(static_cast<VakExtractableI*>(value)) == expected);
    _booked[expected] = value;
    if (_size <= expected) _size = expected + 1;
  }
  void release() {
    if (_booked.empty()) return;
    auto found = _booked.lower_bound(4L * _program.byte());
    if (found == _booked.end()) found = _booked.begin();
    const VakInt id = found->first;
    _booked.erase(found);
    _released.push_back(id);
    _ids.freeId(id);
    if (id == _size - 1) --_size;
  }
  void atTheEdge() {
    switch (_program.below(8)) {
      case 0:
        _ids.end();
        _ids.freeId(0);
        VAK_FUZZ_REQUIRE(_ids.getMemoryUsage() == 0);
        _booked.clear();
        _released.clear();
        _fresh = 0;
        book();
        _size = 1;
        break;
      default:
        _ids.freeId(-1 - _program.byte());
        _ids.freeId(_ids._capacity + _program.byte());
    }
  }

  void compare() {
    VAK_FUZZ_SOUND(_ids.check());
    VAK_FUZZ_REQUIRE(_ids._size == _size);
    VAK_FUZZ_REQUIRE(_size <= _ids._capacity);
    auto expected = _booked.begin();
    VakIdManager::Iterator walk(&_ids);
    for (walk.nextValid(); walk.index < _ids._size; walk.nextValid(), ++expected) {
      VAK_FUZZ_REQUIRE(expected != _booked.end() && expected->first == walk.index);
      VAK_FUZZ_REQUIRE(_ids._data[walk.index] == expected->second);
    }
    VAK_FUZZ_REQUIRE(expected == _booked.end());
  }

  static constexpr std::size_t Most = 3000;

  VakFuzzProgram& _program;
  VakFuzzEnv _env;
  VakIdManager _ids;
  std::map<VakInt, void*> _booked;
  std::vector<VakInt> _released;  ///< Handed out again from the back.
  VakInt _fresh = 0;              ///< The first one that was never handed out.
  VakInt _size = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  Identifiers(program).run();
  return 0;
}
