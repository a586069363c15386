#include "vakenv/arrays/array_impl.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <climits>
#include <cstring>
#include <new>
#include <typeinfo>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/arrays/array_error.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/gen_alloc.h"
#include "vakenv/memory/tarn_alloc.h"

namespace {

// User memory on this platform ends here.
constexpr unsigned long AddressableBytes = 1UL << 47;

// Bytes of a table of 2^`shift` pointers.
unsigned long tableBytes(VakInt shift) { return sizeof(char*) << shift; }

// The sum of two element counts; one that no integer can hold is more memory than there is.
VakInt addCounts(VakInt a, VakInt b) {
  VakInt sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) throw std::bad_alloc();
  return sum;
}

// The environment whose own memory manager this is, else null. One of a class derived from that has
// its own ways.
VakEnvI* environmentOf(const VakGenAlloc& manager) {
  if (&typeid(manager) != &typeid(VakTarnAlloc)) return nullptr;
  return static_cast<const VakTarnAlloc&>(manager).env;
}

// A table is a power of two of words, and so are the chunks of most arrays: what serves a request
// of such a size is as large as it.
static_assert([] {
  for (VakInt bytes = sizeof(char*); bytes < VakMemory::LargestSize; bytes *= 2) {
    if (VakMemory::getElementSize(VakMemory::getIndex(bytes)) != bytes) return false;
  }
  return true;
}());

// Bytes of the element that serves a request of another size.
[[gnu::noinline]] VakInt roundedBytes(unsigned long bytes) {
  if (bytes == 0) return 0;
  return VakMemory::getElementSize(VakMemory::getIndex(static_cast<VakInt>(bytes)));
}

// Bytes of the element that serves a request.
VakInt elementBytes(unsigned long bytes) {
  const bool isPower = (bytes & (bytes - 1)) == 0 && bytes >= sizeof(char*);
  return isPower ? static_cast<VakInt>(bytes) : roundedBytes(bytes);
}

// Where the storage of an array comes from. What the memory manager of an environment does is done
// here without a virtual call, which is worth it for many chunks.
class Source {
 public:
  explicit Source(const VakGenAlloc* manager) : _manager(manager), _env(environmentOf(*manager)) {}

  [[nodiscard]] void* take(unsigned long bytes) const {
    return _env != nullptr ? _env->allocate(bytes) : _manager->alloc(bytes);
  }
  void giveBack(void* storage, unsigned long bytes) const {
    if (_env == nullptr) {
      _manager->free(storage, bytes);
    } else if (bytes != 0) {
      _env->giveBack(storage, bytes);
    }
  }

 private:
  const VakGenAlloc* _manager;
  VakEnvI* _env;  // Null for a manager of no environment.
};

// Counts storage that an array got, or lost: tables, and the bytes of tables and chunks.
void count(const VakGenAlloc* manager, VakInt tables, VakInt bytes) {
  VakEnvI* env = environmentOf(*manager);
  if (env != nullptr) env->_arrayTally.count(tables, bytes, env->_localEnv != nullptr);
}

// Elements may have no bytes; their chunks are null then, which the library functions do not take.

void copyBytes(char* to, const char* from, unsigned long bytes) {
  if (bytes != 0) std::memcpy(to, from, bytes);
}

void clearBytes(void* p, unsigned long bytes) {
  if (bytes != 0) std::memset(p, 0, bytes);
}

// Moves a run, which may overlap its old place. Removing at the front moves one element from chunk
// to chunk, which is not worth a call.
void moveBytes(char* to, const char* from, unsigned long bytes) {
  if (bytes != sizeof(VakNum)) {
    if (bytes != 0) std::memmove(to, from, bytes);
    return;
  }
  VakNum element;
  std::memcpy(&element, from, sizeof(element));
  std::memcpy(to, &element, sizeof(element));
}

}  // namespace

// ---- Construction -------------------------------------------------------------------------------

VakArrayI::VakArrayI(VakGenAlloc* alloc, VakInt size, VakInt elementSize)
    : VakMemoryManagerObjectI(alloc),
      _max(size > 0 ? size : 1),
      _elementSize(elementSize),
      _size(size),
      _mod(0),
      _shift(0),
      _data(nullptr) {
  setShiftMod();
  allocData(_size);
  zeroData();
}

VakArrayI::VakArrayI(VakEnvI* env, VakInt size, VakInt elementSize)
    : VakArrayI(env->_allocator, size, elementSize) {}

VakArrayI::VakArrayI(VakGenAlloc* alloc, VakInt max, VakInt size, VakInt mod, VakInt shift,
                     VakInt elementSize, char** data)
    : VakMemoryManagerObjectI(alloc),
      _max(max),
      _elementSize(elementSize),
      _size(size),
      _mod(mod),
      _shift(shift),
      _data(data) {
  if (data != nullptr) countStorage();
}

VakArrayI::VakArrayI(VakEnvI* env, VakInt max, VakInt size, VakInt mod, VakInt shift,
                     VakInt elementSize, char** data)
    : VakArrayI(env->_allocator, max, size, mod, shift, elementSize, data) {}

VakArrayI::VakArrayI(VakGenAlloc* alloc, VakArrayI* other)
    : VakMemoryManagerObjectI(alloc),
      _max(other->_max),
      _elementSize(other->_elementSize),
      _size(other->_size),
      _mod(other->_mod),
      _shift(other->_shift),
      _data(nullptr) {
  allocData(_size);
  const unsigned long bytes = chunkBytes(_shift);
  const VakInt last = (std::max(_size, VakInt{0}) - 1) >> _shift;
  for (VakInt k = 0; k <= last; ++k) copyBytes(_data[k], other->_data[k], bytes);
}

VakArrayI::VakArrayI(VakEnvI* env, VakArrayI* other) : VakArrayI(env->_allocator, other) {}

VakArrayI* VakArrayI::Make(VakGenAlloc* alloc, VakInt size, VakInt elementSize) {
  return VakCreate<VakArrayI>(alloc, size, elementSize);
}

VakArrayI::~VakArrayI() noexcept(false) { clear(); }

// ---- Geometry and storage -----------------------------------------------------------------------

void VakArrayI::setShiftMod() {
  if (_max > MaxElements) throw std::bad_alloc();
  const auto last = static_cast<unsigned long>(_max > 1 ? _max - 1 : 0);
  _shift = static_cast<VakInt>(std::bit_width(last) + 1) / 2;
  _mod = chunkLength() - 1;
  _max = VakInt{1} << (2 * _shift);
}

// Throws std::bad_alloc when `n` elements in chunks of 2^`shift` are more than can be addressed, so
// that an absurd request fails before it has eaten up what memory there is. A negative element size
// counts as a huge one.
void VakArrayI::requireAddressable(VakInt n, VakInt shift) const {
  const auto bytes = static_cast<unsigned long>(_elementSize);
  const auto elements = static_cast<unsigned long>(std::max(n, VakInt{1} << shift));
  if (bytes != 0 && elements > AddressableBytes / bytes) throw std::bad_alloc();
}

// Bytes of a chunk of 2^`shift` elements.
unsigned long VakArrayI::chunkBytes(VakInt shift) const {
  return static_cast<unsigned long>(_elementSize) << shift;
}

// Bytes of the elements that serve a table of 2^`shift` pointers with so many chunks.
VakInt VakArrayI::storageBytes(VakInt chunks, VakInt shift) const {
  const auto table = static_cast<VakInt>(tableBytes(shift));
  return chunks == 0 ? table : table + chunks * elementBytes(chunkBytes(shift));
}

// A table of 2^`shift` null pointers.
char** VakArrayI::allocTable(VakInt shift) const {
  auto** table = static_cast<char**>(_memoryManager->alloc(tableBytes(shift)));
  std::memset(table, 0, tableBytes(shift));
  return table;
}

// Gives back a table of 2^`shift` pointers and every chunk in it; returns how many those were.
VakInt VakArrayI::freeStorage(char** table, VakInt shift) const {
  const Source source(_memoryManager);
  const unsigned long bytes = chunkBytes(shift);
  const VakInt length = VakInt{1} << shift;
  VakInt chunks = 0;
  for (VakInt k = 0; k < length; ++k) {
    if (table[k] == nullptr) continue;
    source.giveBack(table[k], bytes);
    ++chunks;
  }
  source.giveBack(table, tableBytes(shift));
  return chunks;
}

// Counts storage that somebody else took from the memory manager. Numbers that do not agree tell
// nothing of it, and it is left alone.
void VakArrayI::countStorage() const {
  constexpr VakInt longestShift = 31;
  if (_shift < 0 || _shift > longestShift || _mod != chunkLength() - 1) return;
  if (environmentOf(*_memoryManager) == nullptr) return;
  char* const none = nullptr;
  const auto chunks = std::find(_data, _data + chunkLength(), none) - _data;
  count(_memoryManager, 1, storageBytes(chunks, _shift));
}

void VakArrayI::allocData(VakInt n) {
  requireAddressable(n, _shift);
  char** table = allocTable(_shift);
  const Source source(_memoryManager);
  const unsigned long bytes = chunkBytes(_shift);
  const VakInt chunks = ((std::max(n, VakInt{1}) - 1) >> _shift) + 1;
  try {
    for (VakInt k = 0; k < chunks; ++k) table[k] = static_cast<char*>(source.take(bytes));
  } catch (...) {
    freeStorage(table, _shift);
    throw;
  }
  _data = table;
  count(_memoryManager, 1, storageBytes(chunks, _shift));
}

void VakArrayI::zeroData() {
  if (_size <= 0) return;
  const unsigned long bytes = chunkBytes(_shift);
  const VakInt last = (_size - 1) >> _shift;
  for (VakInt k = 0; k <= last; ++k) clearBytes(_data[k], bytes);
}

void VakArrayI::clear() {
  if (_data == nullptr) return;
  const VakInt chunks = freeStorage(_data, _shift);
  count(_memoryManager, -1, -storageBytes(chunks, _shift));
  _data = nullptr;
  _size = 0;
  _max = 0;
}

// ---- Growing ------------------------------------------------------------------------------------

void VakArrayI::grow(VakInt n) {
  n = std::max(n, VakInt{1});
  if (_max >= n) {
    growWithinCapacity(n);
    return;
  }
  if (n > MaxElements) throw std::bad_alloc();
  growCapacity(n);
}

void VakArrayI::growAhead(VakInt total) {
  // Elements before the first do not exist and need no room.
  if (total < 0) return;
  if (_max <= total || _data[total >> _shift] == nullptr) grow(total);
}

// Allocates the chunks that `n` elements lack, from the last one downward.
void VakArrayI::growWithinCapacity(VakInt n) {
  const VakInt oldLast = (std::max(_size, VakInt{0}) - 1) >> _shift;
  const VakInt newLast = (n - 1) >> _shift;
  if (newLast <= oldLast || _data[newLast] != nullptr) return;
  VakInt existing = newLast - 1;
  while (existing >= 0 && _data[existing] == nullptr) --existing;
  allocChunks(newLast, existing, -1);
}

// Allocates the missing chunks from `first` on, in steps of 1 or -1, up to but without `end`; gives
// them back if one of them cannot be had, so that no hole stays in the table.
void VakArrayI::allocChunks(VakInt first, VakInt end, VakInt step) {
  const unsigned long bytes = chunkBytes(_shift);
  VakInt k = first;
  try {
    for (; k != end; k += step) _data[k] = static_cast<char*>(_memoryManager->alloc(bytes));
  } catch (...) {
    while (k != first) {
      k -= step;
      _memoryManager->free(_data[k], bytes);
      _data[k] = nullptr;
    }
    throw;
  }
  count(_memoryManager, 0, (end - first) * step * elementBytes(bytes));
}

// 1. The new geometry, in locals: the old one describes the old storage until that is gone.
// 2. A new table.
// 3. New chunks, filled from old ones, which are given back one by one.
// 4. What is left of the old storage goes back.
// 5. Table and geometry take effect.
// 6. Further chunks for what is still lacking of `n` elements.
void VakArrayI::growCapacity(VakInt n) {
  VakInt max = _max;
  VakInt shift = _shift;
  if (max == 0) {
    max = 1;
    shift = 0;
  }
  while (max < n) {
    max *= 4;
    ++shift;
  }
  requireAddressable(n, shift);
  char** table = allocTable(shift);
  const auto [filled, emptied] = moveChunks(table, shift);
  VakInt gained = storageBytes(filled, shift);
  if (_data != nullptr) gained -= storageBytes(emptied + freeStorage(_data, _shift), _shift);
  count(_memoryManager, _data != nullptr ? 0 : 1, gained);
  _data = table;
  _max = max;
  _shift = shift;
  _mod = chunkLength() - 1;
  const VakInt wanted = ((n - 1) >> _shift) + 1;
  if (wanted > filled) allocChunks(filled, wanted, 1);
}

// Moves the elements in use into chunks of 2^`shift` elements, entered in `table`; returns how many
// those are, and how many old ones were given back. If memory runs out the new storage goes back,
// and the array is cleared if a part of the old storage is already gone.
VakArrayI::Moved VakArrayI::moveChunks(char** table, VakInt shift) {
  const VakInt oldLength = _data != nullptr ? chunkLength() : 0;
  const VakInt length = VakInt{1} << shift;
  const unsigned long oldBytes = chunkBytes(_shift);
  const unsigned long bytes = chunkBytes(shift);
  VakInt filled = 0;
  VakInt moved = 0;
  try {
    for (VakInt placed = 0; placed < _size; placed += length) {
      char* to = table[filled] = static_cast<char*>(_memoryManager->alloc(bytes));
      ++filled;
      for (VakInt room = length; room >= oldLength && moved < oldLength && _data[moved] != nullptr;
           room -= oldLength) {
        copyBytes(to, _data[moved], oldBytes);
        _memoryManager->free(_data[moved], oldBytes);
        _data[moved++] = nullptr;
        to += oldBytes;
      }
    }
  } catch (...) {
    freeStorage(table, shift);
    count(_memoryManager, 0, -moved * elementBytes(oldBytes));
    if (moved > 0) clear();
    throw;
  }
  return {filled, moved};
}

// ---- Editing ------------------------------------------------------------------------------------

void VakArrayI::remove(VakInt first, VakInt n) {
  if (first < 0) throw VakArrayError("invalid index for first element to remove");
  VakInt left = 0;
  // A difference that no integer can hold belongs to a size far below zero: nothing is left then.
  if (__builtin_sub_overflow(_size, first, &left) || n > left)
    throw VakArrayError("Trying to remove to much elements");
  // Elements move one by one in ascending order. Towards the front that is what block copies do;
  // towards the back (n below 0) it repeats the first -n elements, which runs of at most that
  // length do as well.
  if (n != 0) copyRuns(first, this, first + n, _size - first - n, n > 0 ? LONG_MAX : -n);
  _size -= n;
}

void VakArrayI::addArray(VakArrayI* other) {
  assert(other->_elementSize == _elementSize);
  const VakInt n = other->_size;
  const VakInt size = _size;
  const VakInt total = addCounts(size, n);
  growAhead(total);
  _size = total;
  // Elements that would come to lie before the first are dropped.
  if (total <= 0) return;
  const VakInt skipped = size < 0 ? -size : 0;
  copyElements(size + skipped, other, skipped, n - skipped);
}

void VakArrayI::addElements(const void* source, VakInt n) {
  const auto* from = static_cast<const char*>(source);
  const VakInt total = addCounts(_size, n);
  growAhead(total);
  if (total <= 0) _size = total;  // all of it would come to lie before the first element
  for (VakInt to = _size; to < total;) {
    const VakInt run = to < 0 ? -to : std::min(total - to, chunkLength() - (to & _mod));
    const VakInt bytes = run * _elementSize;
    if (to >= 0) copyBytes(element(to), from, static_cast<unsigned long>(bytes));
    from += bytes;
    to += run;
  }
  _size = total;
}

void VakArrayI::copyElements(VakInt to, const VakArrayI* other, VakInt from, VakInt n) {
  copyRuns(to, other, from, n, LONG_MAX);
}

// Copies elements in ascending order by runs that end with a chunk on either side, and at
// `longestRun`.
void VakArrayI::copyRuns(VakInt to, const VakArrayI* other, VakInt from, VakInt n,
                         VakInt longestRun) {
  while (n > 0) {
    const VakInt run = std::min(
        {n, longestRun, chunkLength() - (to & _mod), other->chunkLength() - (from & other->_mod)});
    moveBytes(element(to), other->element(from), static_cast<unsigned long>(run * _elementSize));
    to += run;
    from += run;
    n -= run;
  }
}

// ---- Proof --------------------------------------------------------------------------------------

std::string VakArrayI::check(const VakMemoryInspection* pool) const {
  if (_data == nullptr) {
    return _max == 0 && _size <= 0 ? "" : "an array without storage claims capacity or elements";
  }
  if (VakIsGone(pool, _data)) return "the table of chunks is free memory";
  if (_shift < 0 || _shift > 31) return "the shift is out of range";
  if (_mod != chunkLength() - 1) return "the mask is not the chunk length minus 1";
  if (_max != VakInt{1} << (2 * _shift) && !(_max == 0 && _size == 0)) {
    return "the capacity is not the square of the chunk length";
  }
  if (_size > _max) return "the size exceeds the capacity";
  VakInt chunks = 0;
  for (; chunks < chunkLength() && _data[chunks] != nullptr; ++chunks) {
    if (VakIsGone(pool, _data[chunks])) return VakFaultText("chunk ", chunks, " is free memory");
  }
  if (_size > 0 && chunks <= (_size - 1) >> _shift) return "a chunk in use is missing";
  for (VakInt k = chunks; k < chunkLength(); ++k) {
    if (_data[k] != nullptr) return "a chunk stands behind a gap in the table";
  }
  return "";
}
