#pragma once

// Names the classes of the solver module.

#include "vakmodel/fwd.h"

class VakSolver;
struct VakSolverProgress;
struct VakSolverOptions;
class VakSolverOptionError;
class VakFileError;

// Implementations.
class VakSolverI;
class VakLinearProgramI;
class VakRunControlI;
class VakSearchI;
struct VakSearchResultI;
