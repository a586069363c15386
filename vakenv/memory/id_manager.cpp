#include "vakenv/memory/id_manager.h"

#include <algorithm>
#include <vector>

#include "vakbase/memory.h"

namespace {

unsigned long bytesOf(VakInt slots) { return static_cast<unsigned long>(slots) * sizeof(void*); }

}  // namespace

VakIdManager::VakIdManager(VakMemory* memory)
    : _memory(memory), _size(0), _capacity(0), _data(nullptr), _free(nullptr) {
  growData(VakIdManagerSlots, 0);
}

VakInt VakIdManager::getMemoryUsage() const {
  return _data == nullptr ? 0 : static_cast<VakInt>(bytesOf(_capacity));
}

void VakIdManager::end() {
  if (_data == nullptr) return;
  _memory->deallocate(_data, bytesOf(_capacity));
  _data = nullptr;
  _free = nullptr;
}

// The counters of the ended table count no longer once there is a new one.
void VakIdManager::startAnew() {
  growData(VakIdManagerSlots, 0);
  _size = 0;
}

// The new table is taken before anything changes. Steps:
// 1. take the new table;
// 2. copy the slots of the old one unchanged and give it back;
// 3. let the free list begin at slot `oldCapacity`;
// 4. link the slots from there to their next one, the last to itself.
void VakIdManager::growData(VakInt newCapacity, VakInt oldCapacity) {
  void** slots = static_cast<void**>(_memory->allocate(bytesOf(newCapacity)));
  if (_data != nullptr && _capacity != 0) {
    std::copy_n(_data, _capacity, slots);
    _memory->deallocate(_data, bytesOf(_capacity));
  }
  _data = slots;
  _free = slots + oldCapacity;
  _capacity = newCapacity;
  for (VakInt i = oldCapacity; i < newCapacity - 1; ++i) slots[i] = slots + i + 1;
  slots[newCapacity - 1] = slots + newCapacity - 1;
}

std::string VakIdManager::check() const {
  if (_size < 0 || _size > _capacity) return "the size is outside the table";
  if (_data == nullptr) return _free == nullptr ? "" : "a free slot without a table";
  std::vector<bool> seen(static_cast<std::size_t>(_capacity));
  const void* link = _free;
  while (true) {
    if (!isLink(link)) return "the free list leaves the table";
    const unsigned long offset =
        reinterpret_cast<unsigned long>(link) - reinterpret_cast<unsigned long>(_data);
    if (offset % sizeof(void*) != 0) return "the free list runs between two slots";
    const unsigned long slot = offset / sizeof(void*);
    if (slot + 1 == seen.size()) return "";
    if (seen[slot]) return "the free list runs in a circle";
    seen[slot] = true;
    link = _data[slot];
  }
}

void VakIdManager::Iterator::nextValid() {
  ++index;
  if (manager->_data == nullptr) {
    index = manager->_size;
    return;
  }
  while (index < manager->_size && manager->isLink(manager->_data[index])) ++index;
}
