#include "vakenv/arrays/bool_array.h"

#include <cstdarg>

#include "vakbase/exception.h"
#include "vakenv/arrays/value_list.h"

VakBoolArray::VakBoolArray(VakEnv env, VakInt n, VakBool v) : VakArray(env, 0) {
  if (n != 1) throw VakWrongUsage("VakBoolArray::VakBoolArray: n != 1");
  add(v);
}

VakBoolArray::VakBoolArray(VakEnv env, VakInt n, VakBool first, VakVarArgsInt second, ...)
    : VakArray(env, 0) {
  VakAddFirstTwo<VakBool>(*this, n, first, second._value,
                          "VakBoolArray::VakBoolArray: n must be >= 2");
  std::va_list values;
  va_start(values, second);
  VakAddFurther<VakBool>(*this, n - 2, &values);
  va_end(values);
}
