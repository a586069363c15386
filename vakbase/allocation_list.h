#pragma once

// The list through which memory is taken when it is not pooled: every element is a heap block of
// its own, so that memory checkers see each one, and the list remembers which are outstanding so
// that they can all be released with it.

#include <string>

/// A set of heap blocks that can be given back one by one or all at once.
///
/// Owned by a `VakFixedSizeAllocatorI`. In front of every element lies a header of two words that
/// links it into a ring which starts and ends at the list itself, so taking and giving back are
/// constant time and giving back needs no knowledge of the list: an element may be given back
/// through any list. An element belongs to the list it was taken from, which releases it if it is
/// still outstanding when that list is destroyed. Not safe for concurrent use.
///
/// Invariant: for every header `h` of the ring, `h._next->_previous == h._previous->_next == &h`.
///
/// Threads: confined to one thread at a time; several objects are independent of each other.
/// Phases: any: it knows no environment.
/// Gives back: deallocation takes elements back one by one; the list's end takes the rest.
class VakAllocationList {
 public:
  VakAllocationList() noexcept : _ring{&_ring, &_ring} {}
  VakAllocationList(const VakAllocationList&) = delete;
  VakAllocationList& operator=(const VakAllocationList&) = delete;

  /// Releases every element that was taken from this list and not given back.
  ~VakAllocationList();

  /// Returns `size` bytes, aligned to 16. Throws `std::bad_alloc`, having changed nothing, when
  /// `size` is negative or the heap is exhausted. A size of 0 gives an element without bytes.
  [[nodiscard]] void* alloc(long size);

  /// Gives back an element that was taken from this or another list that still lives; null is
  /// ignored. Needs no list, since an element is unlinked from its neighbours.
  static void free(void* element);

  /// Returns an empty text if the invariant holds for every outstanding element, else what is
  /// broken. Costs time in the number of outstanding elements.
  [[nodiscard]] std::string check() const;

  /// Returns the number of outstanding elements; costs time in that number.
  [[nodiscard]] long countElements() const;

 private:
  /// What stands in front of every element. `_previous` is the word next to the element and is
  /// poisoned while the element is outstanding, so that writing below an element is reported;
  /// `_next` stays readable, so that leak checkers can follow the ring.
  struct Header {
    Header* _next;      ///< The element taken before this one, or the ring's start.
    Header* _previous;  ///< The element taken after this one, or the ring's start.
  };

  static Header* GetPrevious(const Header* header);
  static void SetPrevious(Header* header, Header* previous);

  Header _ring;  ///< Start and end of the ring; points to itself when nothing is outstanding.
};
