#pragma once

// Lists in an environment's memory that lose nothing when memory runs out.
//
// Elements lie in blocks of one size, which never move; a table of the blocks doubles when it is
// full. So growing copies no element, wastes at most a block, and either succeeds or changes
// nothing.

#include <cstring>
#include <type_traits>

#include "vakenv/core/environment_impl.h"

/// A list of elements of a trivial type, in the memory of one environment, which the list must not
/// outlive. Indices are not checked.
///
/// Threads: read-shared, as the object that it belongs to.
/// Phases: open, as long as that object.
template <class T>
class VakBlockList {
 public:
  static_assert(std::is_trivially_copyable_v<T>);

  explicit VakBlockList(VakEnvI* env) : _env(env) {}
  ~VakBlockList() {
    for (VakInt block = 0; block < _blocks; ++block) _env->giveBack(_table[block], BlockBytes);
    _env->giveBack(_table, TableBytes(_tableSize));
  }
  VakBlockList(const VakBlockList&) = delete;
  VakBlockList& operator=(const VakBlockList&) = delete;

  /// Number of elements, and each by its place, which is not checked.
  [[nodiscard]] VakInt size() const { return _size; }
  [[nodiscard]] T& operator[](VakInt i) { return _table[i >> Shift][i & Mask]; }
  [[nodiscard]] const T& operator[](VakInt i) const { return _table[i >> Shift][i & Mask]; }

  /// Appends an element. Throws std::bad_alloc and changes nothing then.
  void add(T element) {
    if (_size == _blocks << Shift) [[unlikely]]
      addBlock();
    (*this)[_size++] = element;
  }
  /// Drops the elements from index `size` on. Their memory stays, and what lies in it can still be
  /// read until something is appended.
  void truncate(VakInt size) { _size = size; }

 private:
  static constexpr VakInt Shift = 7;
  static constexpr VakInt Mask = (VakInt{1} << Shift) - 1;
  static constexpr unsigned long BlockBytes = sizeof(T) << Shift;

  [[nodiscard]] static unsigned long TableBytes(VakInt size) {
    return static_cast<unsigned long>(size) * sizeof(T*);
  }

  [[gnu::noinline]] void addBlock() {
    if (_blocks == _tableSize) growTable();
    _table[_blocks] = static_cast<T*>(_env->allocate(BlockBytes));
    ++_blocks;
  }

  void growTable() {
    const VakInt size = _tableSize == 0 ? 4 : 2 * _tableSize;
    auto* table = static_cast<T**>(_env->allocate(TableBytes(size)));
    if (_blocks != 0) std::memcpy(table, _table, TableBytes(_blocks));
    _env->giveBack(_table, TableBytes(_tableSize));
    _table = table;
    _tableSize = size;
  }

  VakEnvI* _env;          ///< Not owned.
  T** _table = nullptr;   ///< The blocks; owned, null before the first element.
  VakInt _tableSize = 0;  ///< Blocks that the table has room for.
  VakInt _blocks = 0;     ///< Blocks there are.
  VakInt _size = 0;       ///< Elements in use.
};
