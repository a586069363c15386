#include "vakenv/plugins/plugin_manager.h"

#include <cassert>
#include <cstring>
#include <string_view>
#include <unordered_set>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/plugins/plugin.h"

namespace {

// Unlinks `element` from the list at `head` and lets the walks that stand before it pass by. An
// element that is not in the list is left alone, and the result is false.
template <class T>
bool unlink(T*& head, T* element, VakWalk<T>* walks) {
  T** link = &head;
  while (*link != nullptr && *link != element) link = &(*link)->next;
  if (*link == nullptr) return false;
  VakWalk<T>::Skip(walks, element);
  *link = element->next;
  return true;
}

// What is broken in the list of plug-ins or add-ons from `head` on; empty for nothing.
template <class T>
std::string checkFiled(const char* kind, const T* head, const VakEnvI* env,
                       const VakMemoryInspection* pool) {
  const auto next = [](const T* element) { return element->next; };
  return VakCheckChain(head, next, [&](const T* element) -> std::string {
    const void* address = element;
    if (VakIsGone(pool, address)) {
      return VakFaultText(kind, " ", address, " is free memory");
    }
    if (element->_env == env) return "";
    return VakFaultText(kind, " ", address, " belongs to another environment");
  });
}

}  // namespace

void VakPlugInManager::VakCell::end() {
  while (plugIns != nullptr || addons != nullptr) {
    while (plugIns != nullptr) {
      VakPlugIn* p = plugIns;
      plugIns = p->next;
      delete p;
    }
    while (plugIns == nullptr && addons != nullptr) {
      VakPlugInAddon* a = addons;
      addons = a->next;
      delete a;
    }
  }
}

VakPlugInManager::VakPlugInManager(VakEnvI* environment)
    : first(nullptr), env(environment), notified(nullptr) {}

VakPlugInManager::~VakPlugInManager() noexcept(false) { end(); }

// A destructor may file further objects, here or under a new name: a cell is given back only when
// it is empty and still the newest.
void VakPlugInManager::end() {
  notified = nullptr;
  while (first != nullptr) {
    VakCell* cell = first;
    cell->end();
    if (cell != first) continue;
    first = cell->next;
    env->giveBack(cell->name, std::strlen(cell->name) + 1);
    env->giveBack(cell, sizeof(VakCell));
  }
}

VakPlugInManager::VakCell* VakPlugInManager::findOrCreateCell(const char* name) {
  VakCell* cell = findCell(name);
  if (cell != nullptr) return cell;
  const unsigned long bytes = std::strlen(name) + 1;
  char* copy = static_cast<char*>(env->allocate(bytes));
  try {
    cell = static_cast<VakCell*>(env->allocate(sizeof(VakCell)));
  } catch (...) {
    env->giveBack(copy, bytes);
    throw;
  }
  std::memcpy(copy, name, bytes);
  first = ::new (cell) VakCell{copy, nullptr, nullptr, first};
  return first;
}

VakPlugInManager::VakCell* VakPlugInManager::findCell(const char* name) const {
  return findCell(std::string_view(name));
}

VakPlugInManager::VakCell* VakPlugInManager::findCell(std::string_view name) const {
  VakCell* cell = first;
  while (cell != nullptr && cell->name != name) cell = cell->next;
  return cell;
}

void VakPlugInManager::add(VakPlugIn* p, const char* name) {
  const VakMutexGuard guard(env->_mutex);
  VakCell* cell = findOrCreateCell(name);
  p->next = cell->plugIns;
  cell->plugIns = p;
  VakRunning& running = env->_registry.plugIns;
  const VakWatch<VakPlugIn> watch(running.watchedPlugIns, p);
  VakWalk<VakPlugInAddon> walk(running.addons, cell->addons);
  while (VakPlugInAddon* a = walk.next()) {
    a->plugInAdded(p);
    if (watch.isGone()) return;
  }
}

void VakPlugInManager::remove(VakPlugIn* p, const char* name) {
  const VakMutexGuard guard(env->_mutex);
  VakCell* cell = findCell(name);
  assert(cell != nullptr);
  VakRunning& running = env->_registry.plugIns;
  const VakWatch<VakPlugIn> watch(running.watchedPlugIns, p);
  VakWalk<VakPlugInAddon> walk(running.addons, cell->addons);
  while (VakPlugInAddon* a = walk.next()) {
    a->plugInRemoved(p);
    if (watch.isGone()) return;
  }
  if (unlink(cell->plugIns, p, running.plugIns)) {
    VakWatch<VakPlugIn>::Lose(running.watchedPlugIns, p);
  }
}

void VakPlugInManager::add(VakPlugInAddon* a, const char* name) {
  const VakMutexGuard guard(env->_mutex);
  VakCell* cell = findOrCreateCell(name);
  a->next = cell->addons;
  cell->addons = a;
  VakRunning& running = env->_registry.plugIns;
  const VakWatch<VakPlugInAddon> watch(running.watchedAddons, a);
  VakWalk<VakPlugIn> walk(running.plugIns, cell->plugIns);
  while (VakPlugIn* p = walk.next()) {
    a->plugInAdded(p);
    if (watch.isGone()) return;
  }
}

void VakPlugInManager::remove(VakPlugInAddon* a, const char* name) {
  const VakMutexGuard guard(env->_mutex);
  VakCell* cell = findCell(name);
  assert(cell != nullptr);
  VakRunning& running = env->_registry.plugIns;
  const VakWatch<VakPlugInAddon> watch(running.watchedAddons, a);
  VakWalk<VakPlugIn> walk(running.plugIns, cell->plugIns);
  while (VakPlugIn* p = walk.next()) {
    a->plugInRemoved(p);
    if (watch.isGone()) return;
  }
  if (unlink(cell->addons, a, running.addons)) {
    VakWatch<VakPlugInAddon>::Lose(running.watchedAddons, a);
  }
}

void VakPlugInManager::addNotified(VakNotifiedPlugIn* p) {
  const VakMutexGuard guard(env->_mutex);
  void* place = env->allocate(sizeof(VakNotifiedNode));
  notified = ::new (place) VakNotifiedNode{p, notified};
}

void VakPlugInManager::removeNotified(VakNotifiedPlugIn* p) {
  const VakMutexGuard guard(env->_mutex);
  VakNotifiedNode* node = notified;
  while (node != nullptr && node->plugIn != p) node = node->next;
  if (node == nullptr) return;
  unlink(notified, node, env->_registry.plugIns.notified);
  env->giveBack(node, sizeof(VakNotifiedNode));
}

void VakPlugInManager::apply(const VakChange& c, const VakExtractableI* e) const {
  VakWalk<VakNotifiedNode> walk(env->_registry.plugIns.notified, notified);
  while (const VakNotifiedNode* node = walk.next()) node->plugIn->notifyChange(c, e);
}

std::string VakPlugInManager::check(const VakMemoryInspection* pool) const {
  std::unordered_set<std::string_view> names;
  const auto next = [](const auto* element) { return element->next; };
  const auto isGone = [pool](const void* p) { return VakIsGone(pool, p); };
  std::string broken = VakCheckChain(first, next, [&](const VakCell* cell) -> std::string {
    if (isGone(cell)) return "the list of cells leads into free memory";
    if (cell->name == nullptr || isGone(cell->name)) return "a cell has no name";
    const std::string cellName = VakFaultText("cell \"", cell->name, "\"");
    std::string fault = checkFiled("plug-in", cell->plugIns, env, pool);
    if (fault.empty()) fault = checkFiled("add-on", cell->addons, env, pool);
    if (!fault.empty()) return cellName + ": " + fault;
    // A name that was seen before can also be a circle, which the walk finds by itself.
    const bool isNew = names.insert(cell->name).second;
    return isNew || findCell(cell->name) == cell ? "" : cellName + " stands behind another of it";
  });
  if (!broken.empty()) return broken;
  const auto checkNotified = [&](const VakNotifiedNode* node) -> std::string {
    if (isGone(node)) return "the list of notified plug-ins leads into free memory";
    const void* plugIn = node->plugIn;
    if (plugIn == nullptr) return "a notified plug-in is null";
    if (isGone(plugIn)) return VakFaultText("notified plug-in ", plugIn, " is free memory");
    if (node->plugIn->_env == env) return "";
    return VakFaultText("notified plug-in ", plugIn, " belongs to another environment");
  };
  return VakCheckChain(notified, next, checkNotified);
}

VakInt VakPlugInManager::isCreated(VakTypeInfo type, const char* name) const {
  return isCreated(type, std::string_view(name));
}

VakInt VakPlugInManager::isCreated(VakTypeInfo type, std::string_view name) const {
  const VakCell* cell = findCell(name);
  if (cell == nullptr) return 0;
  for (const VakPlugInAddon* a = cell->addons; a != nullptr; a = a->next) {
    if (a->getTypeInfo() == type) return 1;
  }
  return 0;
}
