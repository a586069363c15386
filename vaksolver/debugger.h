#pragma once

// What debuggers read of the solver; see vakenv/core/debugger.h.

/// Pointers to what is described; all null.
struct VakSolverDebuggerTypes;
extern const VakSolverDebuggerTypes VakDescribedSolverTypes;
