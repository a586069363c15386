#include "vakenv/registry/extractable_roll.h"

#include <algorithm>
#include <new>

#include "vakmodel/contract/extractable.h"

namespace {

constexpr VakInt LongestUnindexed = 16;  // rolls up to here are searched entry by entry

}  // namespace

void VakExtractableRoll::add(VakExtractableI* e) {
  _entries.push_back(e);
  ++_added;
  if (!_isIndexed) return;
  try {
    enter(getSize() - 1);
  } catch (const std::bad_alloc&) {
    dropIndex();
  }
}

void VakExtractableRoll::add(VakExtractableI* e, VakExtractableArray mirror) {
  add(e);
  _mirror = mirror;
  try {
    mirror.add(e);
  } catch (...) {
    dropIndex();
    _entries.pop_back();
    --_added;
    throw;
  }
}

void VakExtractableRoll::strike(const VakExtractableI* e) noexcept {
  if (_entries.empty()) return;
  if (_isDistinct && !_isIndexed && _entries.back() == e) {
    strikeAt(getSize() - 1);
    return;
  }
  if (!_isIndexed && (getSize() <= LongestUnindexed || !makeIndex())) {
    for (VakInt i = 0; i < getSize(); ++i) {
      if ((*this)[i] == e) strikeAt(i);
    }
    return;
  }
  const auto id = static_cast<std::size_t>(e->id);
  if (id >= _lastOf.size()) return;
  for (VakInt next = _lastOf[id]; next != 0; next = _before[static_cast<std::size_t>(next - 1)]) {
    strikeAt(next - 1);
  }
  _lastOf[id] = 0;
}

void VakExtractableRoll::dropLast() {
  dropIndex();
  _entries.pop_back();
  if (_mirror.getSize() > getSize()) _mirror.dropLast();
}

// The index stays: what was struck is not in it.
void VakExtractableRoll::trim() {
  while (!_entries.empty() && _entries.back() == nullptr) {
    _entries.pop_back();
    if (_isIndexed) _before.pop_back();
    if (_mirror.getSize() > getSize()) _mirror.dropLast();
  }
}

void VakExtractableRoll::compact() {
  if (!_hasStruck) return;
  dropIndex();
  std::erase(_entries, nullptr);
  _hasStruck = false;
  if (_mirror.getSize() < getSize()) return;
  for (VakInt i = 0; i < getSize(); ++i) _mirror[i] = (*this)[i];
  while (_mirror.getSize() > getSize()) _mirror.dropLast();
}

void VakExtractableRoll::clear() {
  dropIndex();
  _entries.clear();
  _added = 0;
  _hasStruck = false;
  _isDistinct = false;
  _mirror = VakExtractableArray();
}

bool VakExtractableRoll::makeIndex() noexcept {
  if (_isIndexed) return true;
  try {
    for (VakInt i = 0; i < getSize(); ++i) enter(i);
    _isIndexed = true;
  } catch (const std::bad_alloc&) {
    dropIndex();
  }
  return _isIndexed;
}

void VakExtractableRoll::dropIndex() {
  _isIndexed = false;
  _lastOf.clear();
  _before.clear();
}

// Enters the last position that is not in the index yet.
void VakExtractableRoll::enter(VakInt position) {
  const VakExtractableI* e = (*this)[position];
  if (e == nullptr || e->id < 0) {
    _before.push_back(0);
    return;
  }
  const auto id = static_cast<std::size_t>(e->id);
  if (id >= _lastOf.size()) _lastOf.resize(id + 1, 0);
  _before.push_back(_lastOf[id]);
  _lastOf[id] = position + 1;
}

void VakExtractableRoll::strikeAt(VakInt position) {
  _entries[static_cast<std::size_t>(position)] = nullptr;
  _hasStruck = true;
  if (position < _mirror.getSize()) _mirror[position] = nullptr;
}
