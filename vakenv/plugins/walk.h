#pragma once

// Walks that survive their listeners.
//
// Whoever is told of something may remove itself or its neighbour from the list that is being
// walked. So a walk stands in a list of running walks, and whoever unlinks an element reports it
// there first: a walk that was about to visit it visits the one after. New elements go to the
// front of their list, behind every walk, so whoever is added meanwhile is not visited.
//
//   VakWalk<VakPlugInAddon> walk(running, cell->addons);
//   while (VakPlugInAddon* a = walk.next()) a->plugInAdded(p);     // may change the list
//
//   VakWalk<VakPlugInAddon>::Skip(running, a);                     // before `a` is unlinked
//
// A watch does the same for one object that a function goes on to use after such calls.
//
// Walks and watches live on the stack and nest; their lists are members of the environment.

// The constructors below store the address of a local object, which the destructors take back; the
// compiler sees only the first half of that.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif

/// One running walk over elements that are linked by their member `next`.
///
/// Threads: confined to the thread of the list that is walked.
/// Phases: any; made on the stack, nested as calls are.
/// Gives back: the destructor ends the walk or watch.
template <class T>
class VakWalk {
 public:
  /// A walk from `first` on, entered in the list of running walks.
  VakWalk(VakWalk*& running, T* first) : _running(running), _outer(running), _next(first) {
    running = this;
  }
  ~VakWalk() { _running = _outer; }
  VakWalk(const VakWalk&) = delete;
  VakWalk& operator=(const VakWalk&) = delete;

  /// The element to visit, or null at the end.
  [[nodiscard]] T* next() {
    T* element = _next;
    if (element != nullptr) _next = element->next;
    return element;
  }

  /// Moves every walk that was about to visit `gone` to the element after it.
  static void Skip(VakWalk* running, const T* gone) {
    for (VakWalk* walk = running; walk != nullptr; walk = walk->_outer) {
      if (walk->_next == gone) walk->_next = gone->next;
    }
  }

 private:
  VakWalk*& _running;  ///< Head of the list of running walks; outlives the walk.
  VakWalk* _outer;     ///< The walk that was running before; null for none.
  T* _next;            ///< The element to visit next; null at the end.
};

/// Tells whether one object has gone meanwhile.
///
/// Threads: confined to the thread of the list that is walked.
/// Phases: any; made on the stack, nested as calls are.
/// Gives back: the destructor ends the walk or watch.
template <class T>
class VakWatch {
 public:
  /// Watches `object`, entered in the list of watches.
  VakWatch(VakWatch*& watches, const T* object)
      : _watches(watches), _outer(watches), _object(object) {
    watches = this;
  }
  ~VakWatch() { _watches = _outer; }
  VakWatch(const VakWatch&) = delete;
  VakWatch& operator=(const VakWatch&) = delete;

  /// True when the object has been taken out or deleted.
  [[nodiscard]] bool isGone() const { return _object == nullptr; }

  /// Reports to every watch that `gone` goes.
  static void Lose(VakWatch* watches, const T* gone) {
    for (VakWatch* watch = watches; watch != nullptr; watch = watch->_outer) {
      if (watch->_object == gone) watch->_object = nullptr;
    }
  }

 private:
  VakWatch*& _watches;  ///< Head of the list of watches; outlives the watch.
  VakWatch* _outer;     ///< The watch entered before; null for none.
  const T* _object;     ///< The object watched; null when it has gone.
};

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
