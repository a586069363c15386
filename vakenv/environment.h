#pragma once

// What an application includes for environments, memory managers, exceptions and multithreading.

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
