// The chain of mark arrays.
//
// A block has three header slots - link, in-use flag, capacity - and one mark per identifier, with
// 1000 spare ones.

#include <algorithm>
#include <new>

#include "vakbase/fault_text.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/types/exceptions.h"

namespace {

constexpr VakInt HeaderSlots = 3;
constexpr VakInt SpareMarks = 1000;

void* asSlot(VakInt value) { return reinterpret_cast<void*>(value); }

void** linkOf(void** block) { return static_cast<void**>(block[0]); }
bool isLent(void** block) { return block[1] != nullptr; }
VakInt capacityOf(void** block) { return reinterpret_cast<VakInt>(block[2]); }

void initBlock(void** block, VakInt identifiers) {
  std::fill_n(block, identifiers + SpareMarks + HeaderSlots, nullptr);
  block[2] = asSlot(identifiers + SpareMarks);
}

}  // namespace

void** VakEnvI::NewMarkArray(VakInt identifiers) {
  void** block = nullptr;
  try {
    block = new void*[static_cast<unsigned long>(identifiers + SpareMarks + HeaderSlots)];
  } catch (const std::bad_alloc&) {
    throw VakMemoryException();
  }
  initBlock(block, identifiers);
  return block;
}

void VakEnvI::initMarkArray(void** block) { initBlock(block, _idManager->_size); }

void** VakEnvI::getMarkArray() {
  if (_mtSafeNormalization == 0) throw VakNotSupportedOperation();
  const VakMutexGuard guard(_mutex);
  const VakInt identifiers = _idManager->_size;
  void** previous = nullptr;
  void** block = _markArray;
  while (block != nullptr && isLent(block)) {
    previous = block;
    block = linkOf(block);
  }
  // A block that is missing or too small is made before anything is unlinked.
  if (block == nullptr || capacityOf(block) < identifiers) {
    void** fresh = NewMarkArray(identifiers);
    if (block != nullptr) fresh[0] = block[0];
    if (previous != nullptr) {
      previous[0] = fresh;
    } else {
      _markArray = fresh;
    }
    delete[] block;
    block = fresh;
  }
  block[1] = asSlot(1);
  return block + HeaderSlots;
}

void VakEnvI::releaseMarkArray(void** marks) {
  const VakMutexGuard guard(_mutex);
  (marks - HeaderSlots)[1] = nullptr;
}

void VakEnvI::freeMarks() {
  while (_markArray != nullptr) {
    void** block = _markArray;
    _markArray = linkOf(block);
    delete[] block;
  }
}

std::string VakEnvI::checkMarkArrays() const {
  const auto next = [](void* const* block) { return linkOf(const_cast<void**>(block)); };
  return VakCheckChain(_markArray, next, [](void* const* block) -> std::string {
    const auto lent = reinterpret_cast<VakInt>(block[1]);
    const auto capacity = reinterpret_cast<VakInt>(block[2]);
    if (lent != 0 && lent != 1) return VakFaultText("the in-use flag of a block is ", lent);
    if (capacity >= SpareMarks) return "";
    return VakFaultText("the capacity of a block is ", capacity);
  });
}

void VakEnvI::saveValue(void** address) {
  if (_localEnv != nullptr) _localEnv->saveValue(address);
}

void VakEnvI::saveValue(long* address) {
  if (_localEnv != nullptr) _localEnv->saveValue(address);
}

void VakEnvI::saveValue(double* address) {
  if (_localEnv != nullptr) _localEnv->saveValue(address);
}
