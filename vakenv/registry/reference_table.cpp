#include "vakenv/registry/reference_table.h"

#include <bit>
#include <cstddef>

namespace {

// The printers in debug/gdb/vak_printers.py know the first two of these.
constexpr std::size_t PageLength = 512;      // stamps
constexpr std::size_t FirstListLength = 64;  // pages; every further list is as long as all before
constexpr std::size_t ListCount = 49;        // lists, which reach every identifier above 0

constinit std::atomic<VakReferenceTable::Stamp> lastStamp = 0;

/// Where the stamp of an identifier lies.
struct Place {
  explicit Place(VakInt id) {
    const auto number = static_cast<std::size_t>(id);
    const std::size_t pageNumber = number / PageLength;
    list = static_cast<std::size_t>(std::bit_width(pageNumber / FirstListLength));
    page = list == 0 ? pageNumber : pageNumber - ListLength(list);
    slot = number % PageLength;
  }
  /// The pages of a list, which are also the pages before it, for any list but the first.
  static std::size_t ListLength(std::size_t list) {
    return list == 0 ? FirstListLength : FirstListLength << (list - 1);
  }

  std::size_t list;
  std::size_t page;
  std::size_t slot;
};

// What `place` names, made with `length` empty elements if it names nothing yet. Several threads
// may find nothing: the first one's stays.
template <class T>
T* getOrMake(std::atomic<T*>& place, std::size_t length) {
  T* present = place.load(std::memory_order_acquire);
  if (present != nullptr) return present;
  T* made = new T[length]();
  if (place.compare_exchange_strong(present, made, std::memory_order_acq_rel)) return made;
  delete[] made;
  return present;
}

}  // namespace

VakReferenceTable::Slot* VakReferenceTable::slotOf(VakInt id) const noexcept {
  if (id < 0) return nullptr;
  const Place place(id);
  Pages* directory = _directory.load(std::memory_order_acquire);
  if (directory == nullptr) return nullptr;
  Page* pages = directory[place.list].load(std::memory_order_acquire);
  if (pages == nullptr) return nullptr;
  Slot* page = pages[place.page].load(std::memory_order_acquire);
  return page == nullptr ? nullptr : page + place.slot;
}

VakReferenceTable::Slot* VakReferenceTable::makeSlot(VakInt id) {
  const Place place(id);
  Pages* directory = getOrMake(_directory, ListCount);
  Page* pages = getOrMake(directory[place.list], Place::ListLength(place.list));
  return getOrMake(pages[place.page], PageLength) + place.slot;
}

VakReferenceTable::Stamp VakReferenceTable::make(VakInt id) {
  Slot* slot = makeSlot(id);
  Stamp stamp = slot->load(std::memory_order_acquire);
  if (stamp != 0) return stamp;
  const Stamp fresh = lastStamp.fetch_add(1, std::memory_order_relaxed) + 1;
  return slot->compare_exchange_strong(stamp, fresh) ? fresh : stamp;
}

VakReferenceTable::Stamp VakReferenceTable::find(VakInt id) const noexcept {
  const Slot* slot = slotOf(id);
  return slot == nullptr ? 0 : slot->load(std::memory_order_acquire);
}

void VakReferenceTable::dropStamp(VakInt id) noexcept {
  Slot* slot = slotOf(id);
  if (slot != nullptr) slot->store(0, std::memory_order_release);
}

void VakReferenceTable::end() noexcept {
  Pages* directory = _directory.exchange(nullptr);
  if (directory == nullptr) return;
  for (std::size_t list = 0; list < ListCount; ++list) {
    Page* pages = directory[list].load();
    if (pages == nullptr) continue;
    for (std::size_t page = 0; page < Place::ListLength(list); ++page) delete[] pages[page].load();
    delete[] pages;
  }
  delete[] directory;
}
