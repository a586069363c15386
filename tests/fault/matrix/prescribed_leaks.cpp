#include "tests/fault/matrix/prescribed_leaks.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr const char* Construction =
    "A construction that fails releases the embedded members, and with them the pool; the service "
    "objects of steps that were over stay on the heap.";
constexpr const char* LifeCell =
    "Where the life of an environment is noted can be read for ever, so it is never given back; "
    "the "
    "next environment has it, also when nothing fails.";
constexpr const char* SetClone =
    "What was cloned so far stays in the environment's memory when a copy fails; makeDeepCopy "
    "leaves nothing.";
constexpr const char* Destructor =
    "An exception out of a destructor leaves the storage of the object alone.";
constexpr const char* Refusal =
    "An exception that is no refusal passes on at once, and a refusal that was collected before is "
    "dropped with its array.";

constexpr VakPrescribedLeak _leaks[] = {
    {"create an environment", VakFaultKind::Heap, Construction},
    {"create an environment", VakFaultKind::Pool, Construction},
    {"own a new environment", VakFaultKind::Heap, Construction},
    {"own a new environment", VakFaultKind::Pool, Construction},
    {"note the life of an environment when no cell is free", VakFaultKind::Heap, LifeCell},
    {"note the life of an environment when no cell is free", VakFaultKind::Pool, LifeCell},
    {"note the life of an environment when no cell is free", VakFaultKind::Callback, LifeCell},
    {"clone a property set", VakFaultKind::Heap, SetClone},
    {"clone a property set", VakFaultKind::Pool, SetClone},
    {"clone a property set", VakFaultKind::Callback, SetClone},
    {"end a plug-in manager whose plug-ins fail", VakFaultKind::Callback, Destructor},
    {"destroy destroyables that fail", VakFaultKind::Callback, Destructor},
    {"create and delete an extractable in thread-safe mode", VakFaultKind::Callback, Destructor},
    {"use and release expressions", VakFaultKind::Callback, Destructor},
    {"remove a deleter that fails", VakFaultKind::Callback, Destructor},
    {"report a change that several algorithms refuse", VakFaultKind::Callback, Refusal},
    {"report a change that algorithms refuse which run out of memory", VakFaultKind::Pool, Refusal},
    {"report a change that algorithms refuse which run out of memory", VakFaultKind::Callback,
     Refusal},
};

}  // namespace

std::span<const VakPrescribedLeak> VakGetPrescribedLeaks() { return _leaks; }

bool VakIsPrescribedLeak(const char* operation, VakFaultKind kind) {
  return std::ranges::any_of(_leaks, [&](const VakPrescribedLeak& leak) {
    return leak.kind == kind && std::string_view(leak.operation) == operation;
  });
}
