#include "vakenv/arrays/num_array.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <span>

#include "vakbase/exception.h"
#include "vakbase/globals.h"
#include "vakenv/arrays/int_array.h"
#include "vakenv/arrays/value_list.h"
#include "vakenv/types/exceptions.h"

namespace {

constexpr const char* TooFew = "VakNumArray::VakNumArray: n must be >=2";

// From 2^52 on every number is integral, and only NaN differs from itself.
bool isIntegral(VakNum x) {
  if (!(std::fabs(x) < 0x1p52)) return x == x;
  return static_cast<VakNum>(static_cast<VakInt>(x)) == x;
}

}  // namespace

VakNumArray::VakNumArray(VakEnv env, VakInt n, VakNum v) : VakArray(env, 0) {
  if (n != 1) throw VakWrongUsage("VakNumArray::VakNumArray: n != 1");
  add(v);
}

VakNumArray::VakNumArray(VakEnv env, VakInt n, VakNum first, VakVarArgsNum second, ...)
    : VakArray(env, 0) {
  VakAddFirstTwo<VakNum>(*this, n, first, second._value, TooFew);
  std::va_list values;
  va_start(values, second);
  VakAddFurther<VakNum>(*this, n - 2, &values);
  va_end(values);
}

VakNumArray::VakNumArray(VakEnv env, VakInt n, int first, VakVarArgsNum second, ...)
    : VakArray(env, 0) {
  VakAddFirstTwo<VakNum>(*this, n, first, second._value, TooFew);
  std::va_list values;
  va_start(values, second);
  VakAddFurther<int>(*this, n - 2, &values);
  va_end(values);
}

VakNumArray::VakNumArray(VakEnv env, VakInt n, VakInt first, VakVarArgsNum second, ...)
    : VakArray(env, 0) {
  VakAddFirstTwo(*this, n, static_cast<VakNum>(first), second._value, TooFew);
  std::va_list values;
  va_start(values, second);
  VakAddFurther<VakInt>(*this, n - 2, &values);
  va_end(values);
}

bool VakNumArray::areElementsInteger() const {
  for (const std::span<VakNum> chunk : chunks()) {
    if (!std::all_of(chunk.begin(), chunk.end(), isIntegral)) return false;
  }
  return true;
}

bool VakNumArray::areElementsBoolean() const {
  for (const std::span<VakNum> chunk : chunks()) {
    if (!std::all_of(chunk.begin(), chunk.end(), [](VakNum x) { return x == 0.0 || x == 1.0; })) {
      return false;
    }
  }
  return true;
}

VakIntArray VakNumArray::toIntArray() const {
  if (!areElementsInteger()) throw VakBadConversion();
  VakIntArray result(getEnv(), getSize());
  auto to = begin(result);
  for (const std::span<VakNum> chunk : chunks()) {
    to = std::transform(chunk.begin(), chunk.end(), to, VakTrunc);
  }
  return result;
}

bool VakNumArray::contains(VakNum v) const {
  if (_impl == nullptr) throw VakWrongUsage("Empty Handle in VakNumArray::contains");
  for (const std::span<VakNum> chunk : chunks()) {
    if (std::find(chunk.begin(), chunk.end(), v) != chunk.end()) return true;
  }
  return false;
}
