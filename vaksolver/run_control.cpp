#include "vaksolver/run_control.h"

#include <algorithm>
#include <cmath>

VakNum VakGetRelativeGap(VakNum incumbent, VakNum bound) {
  constexpr VakNum leastSize = 1e-10;
  return std::abs(incumbent - bound) / std::max(std::abs(incumbent), leastSize);
}

VakRunControlI::VakRunControlI(const VakSolverOptions& options,
                               const std::function<bool()>& isAborting,
                               const VakSolver::ProgressCallback& callback)
    : _options(&options),
      _isAborting(&isAborting),
      _callback(&callback),
      _start(Clock::now()),
      _nextReport(callback ? options.progressInterval : VakGetInfinity()) {}

VakNum VakRunControlI::getSeconds() const {
  return std::chrono::duration<VakNum>(Clock::now() - _start).count();
}

bool VakRunControlI::stepSearch(VakInt nodes, VakInt iterations) {
  _state.nodes = nodes;
  _state.iterations = std::max(_state.iterations, _iterationsBefore + iterations);
  return step();
}

void VakRunControlI::noteIncumbent(VakNum value) {
  _state.hasIncumbent = true;
  _state.incumbent = value;
}

// What ended the solve first stays the reason.
bool VakRunControlI::step() {
  if (_reason != VakStatus::NotSolved) return true;
  if ((*_isAborting)()) return stop(VakStatus::Aborted);
  const VakNum seconds = getSeconds();
  if (seconds >= _nextReport) report(seconds);
  if (_failure || (*_isAborting)()) return stop(VakStatus::Aborted);
  if (seconds >= _options->timeLimit) return stop(VakStatus::TimeLimit);
  if (isGapReached()) return stop(VakStatus::GapLimit);
  return false;
}

bool VakRunControlI::stop(VakStatus reason) {
  _reason = reason;
  return true;
}

bool VakRunControlI::isGapReached() const {
  if (!_state.hasIncumbent || !std::isfinite(_state.bound)) return false;
  return (_options->gap > 0 &&
          VakGetRelativeGap(_state.incumbent, _state.bound) <= _options->gap) ||
         (_options->absoluteGap > 0 &&
          std::abs(_state.incumbent - _state.bound) <= _options->absoluteGap);
}

void VakRunControlI::report(VakNum seconds) {
  _state.seconds = seconds;
  try {
    (*_callback)(_state);
  } catch (...) {
    _failure = std::current_exception();
  }
  _nextReport = getSeconds() + _options->progressInterval;
}

void VakRunControlI::rethrow() const {
  if (_failure) std::rethrow_exception(_failure);
}
