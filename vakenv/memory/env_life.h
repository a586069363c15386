#pragma once

// Telling whether an environment still lives without touching it.
//
//   VakEnvLife       a value: the life of one environment, kept by whoever may outlive it
//   VakEnvLifeCell   the place where that life is noted; never given back, so it can always be read
//   VakEnvLifeNote   a member of the environment: takes a cell on first need, clears it at the end
//
// Every life has a number of its own in the process. A cell holds the number of the life that is
// noted in it, so an environment that is made at the address of an ended one, or that takes over
// its cell, is not mistaken for it. An environment of which nobody keeps the life takes no cell.

#include <atomic>
#include <cstdint>

#include "vakenv/fwd.h"

/// Where the life of one environment after another is noted. Made by VakEnvLifeNote, on the general
/// heap; there are as many as environments that needed one lived at the same time.
///
/// Threads: thread safe to read; written by VakEnvLifeNote under a lock.
/// Phases: any: a cell is never given back.
struct VakEnvLifeCell {
  std::atomic<std::uint64_t> number = 0;  ///< Of the life noted here; 0 for none.
  VakEnvI* env = nullptr;                 ///< The environment; meaningless while there is none.
  VakEnvLifeCell* next = nullptr;         ///< The next cell without a life, while this is one.
};

/// The life of one environment, or of none, which is never over. A plain value.
///
/// It may be asked from any thread. An answer holds as long as the thread rule of the environment
/// keeps others from ending it.
///
/// Threads: thread safe.
/// Phases: open to make one; any afterwards.
class VakEnvLife {
 public:
  VakEnvLife() = default;
  /// The life of `env`, which must live; null for none. Throws std::bad_alloc. Constant time.
  explicit VakEnvLife(VakEnvI* env);

  /// True when the environment has ended.
  [[nodiscard]] bool isOver() const noexcept {
    return _cell != nullptr && _cell->number.load(std::memory_order_acquire) != _number;
  }
  /// The environment while it lives; null when it has ended or there is none.
  [[nodiscard]] VakEnvI* getEnv() const noexcept {
    return _cell == nullptr || isOver() ? nullptr : _cell->env;
  }
  friend bool operator==(VakEnvLife a, VakEnvLife b) = default;

 private:
  friend class VakEnvLifeNote;
  VakEnvLife(const VakEnvLifeCell* cell, std::uint64_t number) : _cell(cell), _number(number) {}

  const VakEnvLifeCell* _cell = nullptr;  ///< Never given back; null for no environment.
  std::uint64_t _number = 0;              ///< Of the life; 0 for no environment.
};

/// What an environment keeps of its own life.
///
/// Threads: thread safe for get(); end() is for the thread that ends the environment.
/// Phases: open.
/// Gives back: end() takes the cell back.
class VakEnvLifeNote {
 public:
  VakEnvLifeNote() = default;
  ~VakEnvLifeNote() { end(); }
  VakEnvLifeNote(const VakEnvLifeNote&) = delete;
  VakEnvLifeNote& operator=(const VakEnvLifeNote&) = delete;

  /// The life of `env`, whose note this is. From several threads at once. Throws std::bad_alloc.
  [[nodiscard]] VakEnvLife get(VakEnvI* env);
  /// The life is over. Nothing when nobody asked for it.
  void end() noexcept;

 private:
  std::atomic<VakEnvLifeCell*> _cell = nullptr;  ///< Null until somebody asks.
};
