#pragma once

// Lists of registered extractables by type.

#include "vakenv/fwd.h"

/// Keeps the extractables of one environment in a list per type, once it is switched on.
///
/// Embedded in the environment, which adds and removes extractables as they are registered and
/// unregistered. Off at first: its first member is null and nothing is kept. The destructor does
/// nothing; end() releases the lists.
class VakTypedListManager {
 public:
  class Lists;

  /// True while lists are kept.
  [[nodiscard]] bool isOn() const { return _lists != nullptr; }
  /// Starts keeping lists of what is registered from now on. Throws std::bad_alloc. A second call
  /// changes nothing.
  void switchOn();
  /// Enters `e` in the list of its type. Must be on. Throws std::bad_alloc and changes nothing.
  void add(VakExtractableI* e);
  /// Takes `e` out; an absent one is ignored.
  void remove(VakExtractableI* e);
  /// The number of listed extractables whose class is the one `type` stands for, or has it among
  /// its declared parents.
  [[nodiscard]] VakInt count(void (*type)()) const;
  /// Releases all lists, not the extractables, and switches off.
  void end(VakEnvI* env);

  Lists* _lists = nullptr;  ///< The lists, owned until end(); null while switched off.
};
