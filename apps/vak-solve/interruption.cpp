#include "apps/vak-solve/interruption.h"

#include <atomic>
#include <csignal>

namespace vaksolve {

namespace {

// What a signal handler may touch: lock-free atomics.
std::atomic<bool> requested = false;
std::atomic<const VakSolver*> running = nullptr;
static_assert(std::atomic<bool>::is_always_lock_free);
static_assert(std::atomic<const VakSolver*>::is_always_lock_free);

extern "C" void vakSolveInterrupt(int /*signal*/) {
  requested = true;
  if (const VakSolver* solver = running; solver != nullptr) solver->abort();
}

}  // namespace

Interruption::Interruption(const VakSolver& solver) { running = &solver; }
Interruption::~Interruption() { running = nullptr; }

bool Interruption::IsRequested() { return requested; }

void Interruption::Install() {
  struct sigaction action = {};
  action.sa_handler = vakSolveInterrupt;
  // The first signal puts the usual action back, so that the second one ends the program.
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM}) {
    struct sigaction present = {};
    sigaction(signal, nullptr, &present);
    // What the caller of the program has switched off, as nohup does, stays so.
    if (present.sa_handler == SIG_IGN) continue;
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace vaksolve
