#include "vakenv/arrays/int_array.h"

#include <algorithm>
#include <cstdarg>
#include <span>

#include "vakbase/exception.h"
#include "vakenv/arrays/num_array.h"
#include "vakenv/arrays/value_list.h"

namespace {

constexpr const char* TooFew = "VakIntArray::VakIntArray: n must be >= 2";

}  // namespace

VakIntArray::VakIntArray(VakEnv env, VakInt n, VakInt v) : VakArray(env, 0) {
  if (n != 1) throw VakWrongUsage("VakIntArray::VakIntArray: n != 1");
  add(v);
}

VakIntArray::VakIntArray(VakEnv env, VakInt n, VakInt first, VakVarArgsInt second, ...)
    : VakArray(env, 0) {
  VakAddFirstTwo<VakInt>(*this, n, first, second._value, TooFew);
  std::va_list values;
  va_start(values, second);
  VakAddFurther<VakInt>(*this, n - 2, &values);
  va_end(values);
}

VakIntArray::VakIntArray(VakEnv env, VakInt n, int first, VakVarArgsInt second, ...)
    : VakArray(env, 0) {
  VakAddFirstTwo<VakInt>(*this, n, first, second._value, TooFew);
  std::va_list values;
  va_start(values, second);
  VakAddFurther<int>(*this, n - 2, &values);
  va_end(values);
}

bool VakIntArray::areElementsBoolean() const {
  for (const std::span<VakInt> chunk : chunks()) {
    unsigned long bits = 0;
    for (const VakInt x : chunk) bits |= static_cast<unsigned long>(x);
    if (bits > 1) return false;
  }
  return true;
}

VakNumArray VakIntArray::toNumArray() const {
  VakNumArray result(getEnv(), getSize());
  auto to = begin(result);
  for (const std::span<VakInt> chunk : chunks()) {
    to = std::transform(chunk.begin(), chunk.end(), to,
                        [](VakInt x) { return static_cast<VakNum>(x); });
  }
  return result;
}

VakArray<VakAny> VakIntArray::toAnyArray() const {
  static_assert(sizeof(VakAny) == sizeof(VakInt));
  VakArray<VakAny> result(getEnv(), getSize());
  result.getImpl()->copyElements(0, _impl, 0, getSize());
  return result;
}

bool VakIntArray::contains(VakInt v) const {
  if (_impl == nullptr) throw VakWrongUsage("Empty Handle in VakIntArray::contains");
  for (const std::span<VakInt> chunk : chunks()) {
    if (std::find(chunk.begin(), chunk.end(), v) != chunk.end()) return true;
  }
  return false;
}

bool VakIntArray::contains(VakIntArray other) const {
  if (_impl == nullptr) throw VakWrongUsage("Empty Handle in VakIntArray::contains");
  for (const VakInt v : other) {
    if (!contains(v)) return false;
  }
  return true;
}

void VakIntArray::discard(VakInt v) {
  if (_impl == nullptr) throw VakWrongUsage("Empty Handle in VakIntArray::remove");
  for (VakInt i = getSize(); i > 0; --i) {
    if ((*this)[i - 1] == v) {
      _impl->remove(i - 1, 1);
      return;
    }
  }
}

void VakIntArray::discard(VakIntArray other) {
  if (other == *this) {
    // Each element takes one away, so none is left; walking an array that shrinks would skip some.
    if (getSize() > 0) _impl->remove(0, getSize());
    return;
  }
  for (const VakInt v : other) discard(v);
}
