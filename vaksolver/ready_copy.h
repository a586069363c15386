#pragma once

// Copies of handlers that are there before they are asked for.
//
// A solver that is passed a handler deletes the one it had and then copies the new one. If memory
// ran out in between, it would be left with a pointer to nothing.

#include <memory>

/// Base of a handler `H` that can obtain the copy which clone() returns first beforehand.
template <class H>
class VakReadyCopy {
 public:
  /// Obtains the copy, so that the next clone() needs no memory. Throws std::bad_alloc.
  void makeReady() { _copy = std::make_unique<H>(static_cast<const H&>(*this)); }

 protected:
  VakReadyCopy() = default;
  VakReadyCopy(const VakReadyCopy& /*other*/) {}
  VakReadyCopy& operator=(const VakReadyCopy&) = delete;
  ~VakReadyCopy() = default;

  /// The copy that is ready, or a new one. The caller owns it.
  [[nodiscard]] H* takeCopy() const {
    return _copy != nullptr ? _copy.release() : new H(static_cast<const H&>(*this));
  }

 private:
  mutable std::unique_ptr<H> _copy;  ///< Null for none.
};
