#include "vaksolver/debugger.h"

#include "vaksolver/files.h"
#include "vaksolver/options.h"
#include "vaksolver/solver_impl.h"

struct VakSolverDebuggerTypes {
  const VakSolverI* solver;
  const VakSolverOptionError* optionError;
  const VakFileError* fileError;
};

extern constinit const VakSolverDebuggerTypes VakDescribedSolverTypes = {};
