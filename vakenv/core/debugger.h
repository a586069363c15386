#pragma once

// What debuggers read in programs that use the library.
//
// Programs mostly know an implementation class by its name alone, so what a handle refers to is
// described nowhere but here: debugger.cpp is compiled with descriptions of the classes of this
// component even where nothing else is. debugger_script.cpp carries the printers with which GDB
// shows objects by what they hold. Both take part in no call; whatever every program links refers
// to them.

/// Pointers to what is described; all null.
struct VakDebuggerTypes;
extern const VakDebuggerTypes VakDescribedTypes;

/// Stands in the object that carries the printers.
extern const char VakDebuggerScript;
