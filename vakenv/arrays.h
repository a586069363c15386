#pragma once

// What an application includes for arrays.

#include "vakenv/arrays/array.h"
#include "vakenv/arrays/array2.h"
#include "vakenv/arrays/array_error.h"
#include "vakenv/arrays/bool_array.h"
#include "vakenv/arrays/int_array.h"
#include "vakenv/arrays/num_array.h"
#include "vakenv/arrays/ordered_index.h"
#include "vakenv/types/exceptions.h"
