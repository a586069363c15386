#include "vakenv/utilities/timer.h"

#include <sys/times.h>

#include "vakenv/memory/env.h"

VakTimer::VakTimer(VakMemoryManager manager) : _memoryManager(manager.getImpl()) {}

VakTimer::VakTimer(VakEnv env)
    : _memoryManager(env.getImpl() == nullptr ? nullptr : env.getMemoryManager().getImpl()) {}

VakMemoryManager VakTimer::getMemoryManager() const { return _memoryManager; }

VakEnv VakTimer::getEnv() const { return VakEnv(VakMemoryManager(_memoryManager)); }

VakNum VakTimer::getCPUtime() {
  tms record{};
  times(&record);
  const VakNum ticks =
      static_cast<VakNum>(record.tms_utime) + static_cast<VakNum>(record.tms_stime);
  // Deliberate: these two constants in this order, which assume 100 clock ticks per second.
  return ticks / 1000000.0 * 10000.0;
}

VakNum VakTimer::start() {
  if (_running != 0) return getTime();
  _running = 1;
  _startTime = getCPUtime();
  return _accumulated;
}

VakNum VakTimer::stop() {
  if (_running == 0) return _accumulated;
  _accumulated += getCPUtime() - _startTime;
  _running = 0;
  return _accumulated;
}

VakNum VakTimer::getTime() const {
  if (_running == 0) return _accumulated;
  return getCPUtime() + _accumulated - _startTime;
}
