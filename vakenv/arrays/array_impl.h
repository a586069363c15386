#pragma once

// The storage engine behind every array of the library.
//
//   VakNumArray, VakIntArray, VakBoolArray, VakNumArray2, VakIntArray2, VakArray<T>   handles
//       |
//       v
//   VakArrayI ---owns---> chunk table ---owns---> chunks
//
// Glossary
//   element   a fixed number of bytes, of a type that only the handle knows
//   chunk     a power of two of neighbouring elements, the chunk length L = 2^shift
//   table     L pointers to chunks; those in use come first, the others are null
//   capacity  L * L = 4^shift elements, what the table can reach; chunks are made when needed
//   run       neighbouring elements within one chunk, which a block copy can move
//
// An element is found with a shift, a mask and one load from the table. Growing past the capacity
// doubles the length of table and chunks alike, so it moves whole chunks and never single elements.
// The object, its table and its chunks come from the array's memory manager, all with their sizes.

#include <string>

#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager_object.h"

/// An array of elements of one size in a square of chunks.
///
/// Made with VakCreate<VakArrayI>(manager, ...), ended by `delete`, usually through end() of a
/// handle; handles share it and never own it. What is not ended goes with the environment's memory.
/// One thread at a time uses an array.
///
/// Invariant, which check() proves: without storage `_data` is null, `_max` is 0 and `_size` not
/// above 0; with storage `_mod` + 1 = 2^`_shift`, `_max` is 4^`_shift` (or 0 in a copy of a cleared
/// array), and the chunks are a prefix of the table that covers `_size` elements.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: `delete`, usually through end() of a handle.
class VakArrayI : public VakMemoryManagerObjectI {
 public:
  /// No array holds more elements; a request for more throws std::bad_alloc.
  static constexpr VakInt MaxElements = VakInt{1} << 62;

  /// An array of `size` zeroed elements of `elementSize` bytes. A size that is not positive is kept
  /// as given; the array then has room for one element. Throws std::bad_alloc.
  VakArrayI(VakGenAlloc* alloc, VakInt size, VakInt elementSize);
  /// The same in the memory of an environment.
  VakArrayI(VakEnvI* env, VakInt size, VakInt elementSize);

  /// Takes over `data` and its chunks, which must come from `alloc` and agree with the numbers:
  /// nothing is checked or allocated. In an environment they are counted, another array's twice.
  VakArrayI(VakGenAlloc* alloc, VakInt max, VakInt size, VakInt mod, VakInt shift,
            VakInt elementSize, char** data);
  /// The same in the memory of an environment.
  VakArrayI(VakEnvI* env, VakInt max, VakInt size, VakInt mod, VakInt shift, VakInt elementSize,
            char** data);

  /// A copy of `other` with the same geometry. Deliberate: the copy of a cleared array has capacity
  /// 0 and yet storage, which the next growth replaces. Throws std::bad_alloc.
  VakArrayI(VakGenAlloc* alloc, VakArrayI* other);
  /// The same in the memory of an environment.
  VakArrayI(VakEnvI* env, VakArrayI* other);

  /// A new array in the memory of `alloc`, as the first constructor makes it. A function beside the
  /// handles, so that their constructors are inline and the compiler keeps a handle in a register.
  [[nodiscard]] static VakArrayI* Make(VakGenAlloc* alloc, VakInt size, VakInt elementSize);

  /// Gives all storage back.
  ~VakArrayI() noexcept(false) override;

  /// Number of elements.
  [[nodiscard]] VakInt getSize() const { return _size; }

  /// The first byte of element `i`, whose chunk must exist: not checked.
  [[nodiscard]] char* element(VakInt i) const {
    return _data[i >> _shift] + (i & _mod) * _elementSize;
  }

  /// Derives `_shift`, `_mod` and the capacity from the wanted capacity in `_max`: the smallest
  /// power of four that is not below it, and at least 4 if it is above 1. Throws std::bad_alloc,
  /// having changed nothing, when `_max` is above MaxElements.
  void setShiftMod();

  /// Allocates a table and chunks for the first `n` elements, at least one chunk, with the present
  /// geometry, whose capacity must reach `n`. The array must have no storage. Throws
  /// std::bad_alloc, having changed nothing.
  void allocData(VakInt n);

  /// Fills with zero bytes every chunk that holds an element, each chunk whole.
  void zeroData();

  /// Gives all storage back; nothing when there is none. Size and capacity are 0 afterwards.
  /// Deliberate: `_shift` and `_mod` stay, and the next growth rebuilds them.
  void clear();

  /// Makes room for `n` elements (at least 1); the size stays, and new elements are not zeroed.
  ///
  /// Throws std::bad_alloc. The elements are all there then, unless memory ran out after the first
  /// old chunks were given back: the array is then as after clear().
  void grow(VakInt n);

  /// Grows if an append that brings the size to `total` may need it. Deliberate: this looks one
  /// element past the last one; grow() decides whether anything is missing. Throws as grow().
  void growAhead(VakInt total);

  /// Removes `n` elements from index `first` on; storage and capacity stay. Deliberate: `n` itself
  /// is not checked, and must not be negative. Throws VakArrayError, having changed nothing:
  /// "invalid index for first element to remove" or "Trying to remove to much elements".
  void remove(VakInt first, VakInt n);

  /// Appends all elements of `other`, which may be this array; the element sizes must agree.
  /// Throws as grow().
  void addArray(VakArrayI* other);

  /// Appends `n` elements that lie one after the other at `source`, outside this array's storage.
  /// Throws as grow().
  void addElements(const void* source, VakInt n);

  /// Copies `n` elements of `other`, from its index `from` on, to index `to` on, where there must
  /// be room. Within one array the elements must move towards the front or not overlap.
  void copyElements(VakInt to, const VakArrayI* other, VakInt from, VakInt n);

  /// True when the next append stays within the chunk of the last element and one element short of
  /// its end, which is when growAhead() would find nothing to do.
  [[nodiscard]] bool isAppendWithinChunk() const {
    return IsWithinChunk(_size + 1, (_size + 1) & _mod);
  }

  /// The same for the size after the append and its slot within a chunk: the slot before it is then
  /// the place of the new element, in the same chunk. No negative size passes.
  [[nodiscard]] static bool IsWithinChunk(VakInt next, VakInt slot) { return next > 0 && slot > 1; }

  /// Makes the compiler hold the geometry in registers at this place. Whoever has just read it
  /// loses nothing, and whoever reads it next need not go to memory.
  void keepGeometryInRegisters() const { asm volatile("" : : "r"(_mod), "r"(_shift), "r"(_data)); }

  /// Returns an empty text if the invariant holds and, with `pool`, neither table nor chunks are
  /// free memory, else what is broken.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;

  VakInt _max;          ///< Capacity in elements, a power of four; 0 after clear().
  VakInt _elementSize;  ///< Bytes of one element.
  VakInt _size;         ///< Elements in use; a negative size given at construction stays.
  VakInt _mod;          ///< Mask for the slot within a chunk: the chunk length minus 1.
  VakInt _shift;        ///< Base-2 logarithm of the chunk length.
  char** _data;         ///< The table, owned with its chunks; null when there is no storage.

 private:
  // Chunks that growing filled, and old ones that it emptied and gave back.
  struct Moved {
    VakInt filled;
    VakInt emptied;
  };
  [[nodiscard]] VakInt chunkLength() const { return VakInt{1} << _shift; }
  void requireAddressable(VakInt n, VakInt shift) const;
  [[nodiscard]] unsigned long chunkBytes(VakInt shift) const;
  [[nodiscard]] char** allocTable(VakInt shift) const;
  VakInt freeStorage(char** table, VakInt shift) const;
  void countStorage() const;
  [[nodiscard]] VakInt storageBytes(VakInt chunks, VakInt shift) const;
  void growWithinCapacity(VakInt n);
  void growCapacity(VakInt n);
  Moved moveChunks(char** table, VakInt shift);
  void allocChunks(VakInt first, VakInt end, VakInt step);
  void copyRuns(VakInt to, const VakArrayI* other, VakInt from, VakInt n, VakInt longestRun);
};

static_assert(sizeof(VakArrayI) == 64, "the object is served from the 64-byte size class");
