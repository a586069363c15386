// Heap blocks in an intrusive ring.
#include "vakbase/allocation_list.h"

#include <limits>
#include <new>

#include "vakbase/memory_ledger.h"
#include "vakbase/poison.h"

VakAllocationList::~VakAllocationList() {
  while (_ring._next != &_ring) {
    void* element = _ring._next + 1;
    if constexpr (VakChecksMemory) VakMemoryLedger::Abandon(element);
    free(element);
  }
}

void* VakAllocationList::alloc(long size) {
  static_assert(sizeof(Header) % 16 == 0, "elements keep the alignment of their heap block");
  constexpr long largestSize = std::numeric_limits<long>::max() - static_cast<long>(sizeof(Header));
  if (size < 0 || size > largestSize) throw std::bad_alloc();
  void* block = ::operator new(sizeof(Header) + static_cast<unsigned long>(size));
  auto* header = ::new (block) Header{_ring._next, &_ring};
  VakPoison(&header->_previous, sizeof(Header*));
  SetPrevious(_ring._next, header);
  _ring._next = header;
  return header + 1;
}

void VakAllocationList::free(void* element) {
  if (element == nullptr) return;
  Header* header = static_cast<Header*>(element) - 1;
  Header* previous = GetPrevious(header);
  previous->_next = header->_next;
  SetPrevious(header->_next, previous);
  VakUnpoison(header, sizeof(Header));
  ::operator delete(header);
}

std::string VakAllocationList::check() const {
  // A walk that finds every link answered cannot enter a circle other than the ring itself.
  const Header* header = &_ring;
  do {
    if (GetPrevious(header->_next) != header) return "allocation list: a link is not answered";
    header = header->_next;
  } while (header != &_ring);
  return "";
}

long VakAllocationList::countElements() const {
  long count = 0;
  for (const Header* header = _ring._next; header != &_ring; header = header->_next) ++count;
  return count;
}

VakAllocationList::Header* VakAllocationList::GetPrevious(const Header* header) {
  const bool poisoned = VakIsPoisoned(&header->_previous);
  if (poisoned) VakUnpoison(&header->_previous, sizeof(Header*));
  Header* previous = header->_previous;
  if (poisoned) VakPoison(&header->_previous, sizeof(Header*));
  return previous;
}

void VakAllocationList::SetPrevious(Header* header, Header* previous) {
  const bool poisoned = VakIsPoisoned(&header->_previous);
  if (poisoned) VakUnpoison(&header->_previous, sizeof(Header*));
  header->_previous = previous;
  if (poisoned) VakPoison(&header->_previous, sizeof(Header*));
}
