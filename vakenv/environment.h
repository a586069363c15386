#pragma once

// What an application includes for environments, memory managers, exceptions and multithreading.

/// @page contracts Contracts of use
///
/// The comment of every class says in up to three lines who may use it, when, and what is owed for
/// what it hands out. A function whose own comment says more or otherwise is an exception. A free
/// function has the contract of the class of its first argument that has one, as what it does is
/// reading or changing that; one without such an argument says its own, mostly on one line.
///
/// Threads:
///   - *thread safe*: any thread, at any time;
///   - *read-shared*: several threads at once may call what changes nothing (functions that begin
///     with get, is, has, find, contains or count, comparisons, and loops over elements), as long
///     as no thread changes anything in the environment meanwhile. What changes is confined;
///   - *confined*: one thread at a time uses the object, and the environment that it belongs to.
///     Handing it on to another thread takes what makes the one see the other's writes, such as
///     joining a thread or a mutex.
///
/// In thread-safe mode (VakThreadSafeScope, VakEnv::useMTSafeAllocation, with a mutex installed
/// before the environment is made) several threads may take and give back memory of one environment
/// and make and change objects and models of their own in it, with symbols that are there, as long
/// as no algorithm and no notified plug-in is attached, and may `delete` what they made. Everything
/// else stays as it is said: end() and removeFromAll() of a modelling object too, which walk over
/// everything in the environment and so are for one thread, while no other uses it.
///
/// Phases, of the life of the environment that an object belongs to:
///   - *any*: no environment that lives is needed;
///   - *open*: from the return of its constructor to its end(), callbacks, listeners and, as far as
///     the class says nothing else, destructors of user objects that run in end() included;
///   - *told*: while listeners are told of a change; what the change is about can be read only;
///   - *ending*: while end() runs, in the step that is named.
///
/// Gives back: which call takes back what was handed out. Where the line is missing nothing is
/// owed: every class whose functions hand out or take back has it, and every free function that
/// hands out what is of no class.

#include "vakbase/exception.h"
#include "vakbase/globals.h"
#include "vakbase/numbers.h"
#include "vakbase/slab_cache.h"
#include "vakenv/core/env_owner.h"
#include "vakenv/core/multithreading.h"
#include "vakenv/core/thread_safe_scope.h"
#include "vakenv/core/version.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/gen_alloc.h"
#include "vakenv/memory/memory_manager.h"
#include "vakenv/types/exceptions.h"
