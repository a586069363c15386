#include "vakenv/memory/env_life.h"

#include <mutex>

#include "vakenv/core/environment_impl.h"

namespace {

// Guards the two below, and the change of every note from no cell to one.
constinit std::mutex cellsLock;
constinit VakEnvLifeCell* freeCells = nullptr;
constinit std::uint64_t lastNumber = 0;

VakEnvLifeCell* takeCell() {
  if (freeCells == nullptr) return new VakEnvLifeCell();
  VakEnvLifeCell* cell = freeCells;
  freeCells = cell->next;
  return cell;
}

}  // namespace

VakEnvLife::VakEnvLife(VakEnvI* env) {
  if (env != nullptr) *this = env->_life.get(env);
}

VakEnvLife VakEnvLifeNote::get(VakEnvI* env) {
  VakEnvLifeCell* cell = _cell.load(std::memory_order_acquire);
  if (cell == nullptr) {
    const std::scoped_lock lock(cellsLock);
    cell = _cell.load(std::memory_order_relaxed);
    if (cell == nullptr) {
      cell = takeCell();
      cell->env = env;
      cell->number.store(++lastNumber, std::memory_order_release);
      _cell.store(cell, std::memory_order_release);
    }
  }
  return VakEnvLife(cell, cell->number.load(std::memory_order_relaxed));
}

void VakEnvLifeNote::end() noexcept {
  VakEnvLifeCell* cell = _cell.exchange(nullptr);
  if (cell == nullptr) return;
  cell->number.store(0, std::memory_order_release);
  const std::scoped_lock lock(cellsLock);
  cell->next = freeCells;
  freeCells = cell;
}
