#pragma once

// What an application includes for timers and streams.

#include "vakenv/utilities/get_string.h"
#include "vakenv/utilities/null_stream.h"
#include "vakenv/utilities/timer.h"
