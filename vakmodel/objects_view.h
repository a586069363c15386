#pragma once

// A view of a row of pointers to modelling objects, wherever they lie.

#include <concepts>
#include <cstddef>
#include <iterator>
#include <span>

#include "vakmodel/block_list.h"
#include "vakmodel/fwd.h"

/// What a view of the T is made from: what converts to a span of them. A view itself is not asked
/// whether it does, for the answer takes a complete T.
template <class Objects, class View, class T>
concept VakSpanSource =
    !std::same_as<Objects, View> && std::convertible_to<const Objects&, std::span<T* const>>;

/// Objects of class T, not owned, in plain memory or in a list of extractables. Valid as long as
/// that memory. An object in a list that ends meanwhile leaves a null element behind, which
/// iterators pass over. T must be complete where elements are read.
///
/// Threads: read-shared, as the memory that it looks at.
/// Phases: open, as long as that memory; in a report of a change as long as the report.
template <class T>
class VakObjectsView {
 public:
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = T*;
    using difference_type = std::ptrdiff_t;
    using pointer = T* const*;
    using reference = T*;

    Iterator() = default;
    /// At the first object from `index` on.
    Iterator(const VakObjectsView* view, VakInt index) : _view(view), _index(index) { pass(); }
    T* operator*() const { return (*_view)[_index]; }
    Iterator& operator++() {
      ++_index;
      pass();
      return *this;
    }
    Iterator operator++(int) {
      const Iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(Iterator a, Iterator b) { return a._index == b._index; }

   private:
    void pass() {
      while (_index < _view->size() && (*_view)[_index] == nullptr) ++_index;
    }

    const VakObjectsView* _view = nullptr;
    VakInt _index = 0;
  };

  /// No objects.
  VakObjectsView() = default;
  /// The elements of a span, a vector or an array.
  template <VakSpanSource<VakObjectsView, T> Objects>
  VakObjectsView(const Objects& objects) {
    const std::span<T* const> span(objects);
    _plain = span.data();
    _size = static_cast<VakInt>(span.size());
  }
  /// The places of a list from `from` on and before `to`. Their memory need only be there, so they
  /// may have been dropped.
  VakObjectsView(const VakBlockList<VakExtractableI*>* list, VakInt from, VakInt to)
      : _list(list), _from(from), _size(to - from) {}

  /// Number of elements, null ones included.
  [[nodiscard]] VakInt size() const { return _size; }
  /// Whether there are none, and the object at a place, which is not checked.
  [[nodiscard]] bool empty() const { return _size == 0; }
  [[nodiscard]] T* operator[](VakInt i) const {
    return _list == nullptr ? _plain[i] : static_cast<T*>((*_list)[_from + i]);
  }
  [[nodiscard]] Iterator begin() const { return Iterator(this, 0); }
  [[nodiscard]] Iterator end() const { return Iterator(this, _size); }

 private:
  T* const* _plain = nullptr;  ///< The pointers in plain memory; null for a list.
  const VakBlockList<VakExtractableI*>* _list = nullptr;  ///< Null for plain memory.
  VakInt _from = 0;                                       ///< First place in the list.
  VakInt _size = 0;                                       ///< Number of objects.
};
