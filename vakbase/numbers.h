#pragma once

// The number types of the library. Models hold 64-bit integers, 64-bit floating-point numbers,
// truth values and untyped pointers; the names say which of them a declaration means.

/// A signed 64-bit integer.
using VakInt = long;

/// A 64-bit floating-point number.
using VakNum = double;

/// A truth value as arrays and variables hold it: an integer that is 0 or 1.
using VakBool = VakInt;

/// An untyped pointer, never owned by what holds it.
using VakAny = void*;

static_assert(sizeof(VakInt) == 8, "the library is for 64-bit platforms");
static_assert(sizeof(VakAny) == 8, "the library is for 64-bit platforms");
