#pragma once

// The plug-ins of one environment, by name.
//
//   VakPlugInManager ---> VakCell (one a name) ---> plug-ins, linked by their next
//          |                                  \---> add-ons, linked by their next
//          +---> VakNotifiedNode ---> notified plug-in
//
// All lists are newest first. Cells, names and nodes come from the environment's memory and stay
// as long as the manager, except that a notified plug-in's node goes with its removal.

#include <string>
#include <string_view>

#include "vakenv/fwd.h"
#include "vakenv/plugins/walk.h"
#include "vakenv/types/rtti.h"

/// Files plug-ins and add-ons under names and tells them of each other; tells notified plug-ins of
/// changes.
///
/// Made and owned by the environment. Operations that alter the manager, and the add-ons that they
/// call, run under the environment's mutex when it has one, so that mutex must be recursive. The
/// others take no lock.
///
/// Threads: read-shared for findCell and isCreated; add, remove, addNotified and removeNotified run
///     under the environment's mutex, if any; apply is confined.
/// Phases: open, callbacks of plug-ins and add-ons included, until step 11 of the end.
/// Gives back: remove takes back add, removeNotified takes back addNotified; neither deletes.
class VakPlugInManager {
 public:
  /// What is filed under one name. Never removed before the manager ends, even when empty.
  struct VakCell {
    /// Deletes every plug-in, then every add-on, each unlinked before it is deleted; also those
    /// that their destructors add.
    void end();

    char* name;              ///< The cell's own copy.
    VakPlugIn* plugIns;      ///< Newest first; owned when the manager ends.
    VakPlugInAddon* addons;  ///< Newest first; owned when the manager ends.
    VakCell* next;           ///< The cell made before; null at the end.
  };

  /// An entry of the list of notified plug-ins.
  struct VakNotifiedNode {
    VakNotifiedPlugIn* plugIn;  ///< Not owned.
    VakNotifiedNode* next;      ///< The one entered before; null at the end.
  };

  /// Walks and watches that are under way, so that they survive whom they tell.
  struct VakRunning {
    /// The innermost walk or watch over each of the lists; null for none.
    VakWalk<VakPlugIn>* plugIns = nullptr;
    VakWalk<VakPlugInAddon>* addons = nullptr;
    VakWalk<VakNotifiedNode>* notified = nullptr;
    VakWatch<VakPlugIn>* watchedPlugIns = nullptr;
    VakWatch<VakPlugInAddon>* watchedAddons = nullptr;
  };

  explicit VakPlugInManager(VakEnvI* env);
  /// As end().
  ~VakPlugInManager() noexcept(false);
  VakPlugInManager(const VakPlugInManager&) = delete;
  VakPlugInManager& operator=(const VakPlugInManager&) = delete;

  /// Empties the list of notified plug-ins, then deletes all plug-ins and add-ons, whose
  /// destructors may call the manager, and gives all cells back. When a destructor throws, its
  /// object is gone and another call goes on with the rest. Deliberate: the nodes of notified
  /// plug-ins are not given back, and the notified plug-ins are not deleted.
  void end();

  /// The cell of this name, made if there is none. Throws std::bad_alloc and changes nothing then.
  VakCell* findOrCreateCell(const char* name);
  /// The cell of exactly this name, or null.
  [[nodiscard]] VakCell* findCell(const char* name) const;
  [[nodiscard]] VakCell* findCell(std::string_view name) const;

  /// Files `p` under `name` and tells the add-ons of that name. When one throws, `p` stays filed.
  void add(VakPlugIn* p, const char* name);
  /// Tells the add-ons of that name, then takes `p` out; not deleted. When one throws, `p` stays
  /// filed. `name` must have been used before: not checked. A plug-in that is not filed there is
  /// left alone.
  void remove(VakPlugIn* p, const char* name);
  /// Files `a` under `name` and tells it of every plug-in of that name.
  void add(VakPlugInAddon* a, const char* name);
  /// Tells `a` that every plug-in of that name goes, then takes it out; not deleted. `name` must
  /// have been used before: not checked.
  void remove(VakPlugInAddon* a, const char* name);

  /// Enters `p`, which is told of changes from then on. Throws std::bad_alloc.
  void addNotified(VakNotifiedPlugIn* p);
  /// Takes the newest entry of `p` out; an absent one is ignored.
  void removeNotified(VakNotifiedPlugIn* p);
  /// Tells every notified plug-in, newest first; `e` is null for a change that concerns no single
  /// extractable.
  void apply(const VakChange& c, const VakExtractableI* e) const;

  /// 1 when an add-on of exactly this type is filed under `name`, else 0. Deliberate: plug-ins are
  /// not looked at.
  [[nodiscard]] VakInt isCreated(VakTypeInfo type, const char* name) const;
  [[nodiscard]] VakInt isCreated(VakTypeInfo type, std::string_view name) const;

  /// An empty text if no list runs in a circle, no two cells have one name, and everything filed or
  /// entered belongs to this environment and is not free memory of `pool`; else what is broken.
  /// Costs time in what is filed, and memory of the general heap in the number of names.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;

  VakCell* first;             ///< Newest cell; null for none.
  VakEnvI* env;               ///< The environment served; not owned.
  VakNotifiedNode* notified;  ///< Newest notified plug-in; null for none.
};
