#include "tests/fault/matrix/prescribed_leaks.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr const char* Construction =
    "A construction that fails releases the embedded members, and with them the pool; the service "
    "objects of steps that were over stay on the heap.";
constexpr const char* SetClone =
    "What was cloned so far stays in the environment's memory when a copy fails; makeDeepCopy "
    "leaves nothing.";
constexpr const char* Destructor =
    "An exception out of a destructor leaves the storage of the object alone.";
constexpr const char* Refusal =
    "An exception that is no refusal passes on at once, and a refusal that was collected before is "
    "dropped with its array.";

constexpr VakPrescribedLeak _leaks[] = {
    {"create an environment", VakFaultKind::Heap, 0, 7, Construction},
    {"create an environment", VakFaultKind::Pool, 0, 8, Construction},
    {"own a new environment", VakFaultKind::Heap, 0, 7, Construction},
    {"own a new environment", VakFaultKind::Pool, 0, 8, Construction},
    {"clone a property set", VakFaultKind::Pool, 152, 0, SetClone},
    {"clone a property set", VakFaultKind::Callback, 24, 0, SetClone},
    {"end a plug-in manager whose plug-ins fail", VakFaultKind::Callback, 24, 0, Destructor},
    {"destroy destroyables that fail", VakFaultKind::Callback, 24, 0, Destructor},
    {"create and delete an extractable in thread-safe mode", VakFaultKind::Callback, 136, 0,
     Destructor},
    {"use and release expressions", VakFaultKind::Callback, 112, 0, Destructor},
    {"remove a deleter that fails", VakFaultKind::Callback, 48, 0, Destructor},
    {"report a change that several algorithms refuse", VakFaultKind::Callback, 320, 0, Refusal},
    {"report a change that algorithms refuse which run out of memory", VakFaultKind::Pool, 192, 0,
     Refusal},
    {"report a change that algorithms refuse which run out of memory", VakFaultKind::Callback, 192,
     0, Refusal},
};

}  // namespace

std::span<const VakPrescribedLeak> VakGetPrescribedLeaks() { return _leaks; }

const VakPrescribedLeak* VakFindPrescribedLeak(const char* operation, VakFaultKind kind) {
  const auto* leak = std::ranges::find_if(_leaks, [&](const VakPrescribedLeak& one) {
    return one.kind == kind && std::string_view(one.operation) == operation;
  });
  return leak == std::end(_leaks) ? nullptr : leak;
}
