#include "vakenv/memory/id_manager.h"

#include <algorithm>

#include "vakbase/fault_text.h"
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

VakInt VakIdManager::bookByGrowing(VakExtractableI* e) {
  if (_data == nullptr) {
    startAnew();
    return newId(e);
  }
  const VakInt id = _capacity - 1;
  growData(2 * _capacity, _capacity);
  _data[id] = e;
  if (_size <= id) _size = id + 1;
  return id;
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
  if (_size < 0 || _size > _capacity) {
    return VakFaultText("the size ", _size, " is outside the table of ", _capacity, " slots");
  }
  if (_data == nullptr) return _free == nullptr ? "" : "there is a free slot without a table";
  std::vector<bool> isFree(static_cast<std::size_t>(_capacity));
  std::string broken = checkFreeList(isFree);
  if (!broken.empty()) return broken;
  for (VakInt id = 0; id < _capacity; ++id) {
    if (isFree[static_cast<std::size_t>(id)]) continue;
    if (isLink(_data[id])) return VakFaultText("free slot ", id, " is not in the free list");
    if (id >= _size) return VakFaultText("slot ", id, " is in use beyond the size ", _size);
  }
  return "";
}

std::string VakIdManager::checkFreeList(std::vector<bool>& isFree) const {
  const VakInt last = _capacity - 1;
  const void* link = _free;
  while (true) {
    if (!isLink(link)) return VakFaultText("the free list leaves the table at ", link);
    const auto offset = static_cast<VakInt>(reinterpret_cast<unsigned long>(link) -
                                            reinterpret_cast<unsigned long>(_data));
    const VakInt slot = offset / static_cast<VakInt>(sizeof(void*));
    if (offset % static_cast<VakInt>(sizeof(void*)) != 0) {
      return VakFaultText("the free list runs between two slots after slot ", slot);
    }
    if (isFree[static_cast<std::size_t>(slot)]) {
      return VakFaultText("the free list runs in a circle through slot ", slot);
    }
    isFree[static_cast<std::size_t>(slot)] = true;
    link = _data[slot];
    if (slot != last) continue;
    return link == _data + last ? ""
                                : VakFaultText("the free list goes on behind the last slot ", last);
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
