#pragma once

// The callbacks of the fault matrix: what a user of the library supplies tells of every call here,
// and one chosen call throws.

/// What the chosen callback throws. Of no class that the library knows.
struct VakUserFailure {
  long call;  ///< Which callback it was, counted from 1.
};

/// While it lives, counts the callbacks and lets one of them throw a VakUserFailure. At most one
/// lives at a time.
class VakFailingCallback {
 public:
  /// Lets callback number `failAt` throw, counted from 1; with 0 none.
  explicit VakFailingCallback(long failAt) {
    _calls = 0;
    _failAt = failAt;
    _isCounting = true;
  }
  VakFailingCallback(const VakFailingCallback&) = delete;
  VakFailingCallback& operator=(const VakFailingCallback&) = delete;
  ~VakFailingCallback() { _isCounting = false; }

  [[nodiscard]] long count() const { return _calls; }

  /// To be called by every function that stands for one of a user.
  static void Tick() {
    if (!_isCounting) return;
    if (++_calls == _failAt) throw VakUserFailure{_calls};
  }

 private:
  static inline bool _isCounting = false;
  static inline long _calls = 0;
  static inline long _failAt = 0;
};
