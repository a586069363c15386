#pragma once

// What a file's name says of its format.

#include "vaksolver/files.h"

/// The format that the name says, past ".gz" and ".bz2"; ByName when it says none.
[[nodiscard]] VakFileFormat VakGetFileFormat(const char* file);
/// True when the name ends in ".gz".
[[nodiscard]] bool VakIsGzipped(const char* file);
