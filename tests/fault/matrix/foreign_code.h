#pragma once

// Whose memory does not fail while a model is solved, read or written.
//
// The libraries behind the solver do not survive that memory runs out: they hold what they obtained
// in plain pointers, leave half-made objects where their destructors find them, and end the program
// when an exception passes some of their functions. So memory fails for our own code alone, and
// only as long as none of their functions is on the stack: what is thrown passes through our code,
// and all that we leave them with is a problem between two of their calls.

/// Whether the code at `caller`, which is being called or was called on this thread's way here,
/// belongs to these libraries, or was called by them. Uses no heap. Costs a walk over the stack
/// unless `caller` itself belongs to them.
[[nodiscard]] bool VakIsForeignCode(const void* caller) noexcept;

/// How many of these libraries are in the program. They have to be shared ones: of functions that
/// are linked into the program itself it is not known whose they are.
[[nodiscard]] int VakCountForeignLibraries() noexcept;
