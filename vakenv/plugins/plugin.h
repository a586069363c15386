#pragma once

// What other modules attach to an environment: plug-ins, filed under a name; add-ons, told of every
// plug-in of their name; notified plug-ins, told of every change of a model.

#include "vakenv/fwd.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/types/rtti.h"

/// An extension of an environment, filed under a name with VakPlugInManager::add.
///
/// Made with VakCreate. Deliberate: deleting a plug-in does not take it out of the manager; its
/// owner removes it first, or leaves it to the manager, which deletes what is still filed when the
/// environment ends. In the type system its parent is VakRtti, not its object base.
///
/// Threads: confined.
/// Phases: open; one that is still filed is deleted in step 11 of the end.
/// Gives back: remove and then `delete`, or the manager when the environment ends.
class VakPlugIn : public VakRttiEnvObjectI {
  VAK_RTTI(VakPlugIn, VakRtti);

  explicit VakPlugIn(VakEnvI* env);
  ~VakPlugIn() noexcept(false) override;

  VakPlugIn* next;  ///< The plug-in filed before under the same name; null at the end.
};

/// A plug-in that is told of every change, once it is entered with VakPlugInManager::addNotified.
/// Filing and entering are independent; the manager never deletes what is only entered.
///
/// Threads: confined; notifyChange runs on the thread that changes the model.
/// Phases: open; told of every change between addNotified and removeNotified.
/// Gives back: removeNotified, then as VakPlugIn; one that is only entered is deleted by its owner.
class VakNotifiedPlugIn : public VakPlugIn {
  VAK_RTTI(VakNotifiedPlugIn, VakPlugIn);

  explicit VakNotifiedPlugIn(VakEnvI* env);
  ~VakNotifiedPlugIn() noexcept(false) override;

  /// A change of `extractable`, or one that concerns no single extractable when it is null. An
  /// exception stops the propagation: no other plug-in and no algorithm is told. It may take any
  /// notified plug-in out of the manager, this one included, and delete it then.
  virtual void notifyChange(const VakChange& change, const VakExtractableI* extractable) = 0;
};

/// Told of every plug-in that comes or goes under the name it is filed under.
///
/// Made with VakCreate. As with plug-ins, deleting an add-on does not take it out of the manager.
/// In the type system its parent is VakRtti, not its object base.
///
/// Threads: confined; plugInAdded and plugInRemoved run under the environment's mutex.
/// Phases: open; one that is still filed is deleted in step 11 of the end.
/// Gives back: remove and then `delete`, or the manager when the environment ends.
class VakPlugInAddon : public VakRttiEnvObjectI {
  VAK_RTTI(VakPlugInAddon, VakRtti);

  explicit VakPlugInAddon(VakEnvI* env);
  ~VakPlugInAddon() noexcept(false) override;

  // Both may take plug-ins and add-ons out of the manager, `plugIn` and this add-on included, and
  // delete them then. They run while the environment's mutex is held.

  /// `plugIn` is filed under this add-on's name.
  virtual void plugInAdded(VakPlugIn* plugIn) = 0;
  /// `plugIn`, or this add-on, is about to be removed. An exception leaves it filed.
  virtual void plugInRemoved(VakPlugIn* plugIn) = 0;

  VakPlugInAddon* next;  ///< The add-on filed before under the same name; null at the end.
};
