#pragma once

// What debuggers read of the modelling layer; see vakenv/core/debugger.h.

/// Pointers to what is described; all null.
struct VakModelDebuggerTypes;
extern const VakModelDebuggerTypes VakDescribedModelTypes;
