#pragma once

// Capture of a string stream's text.

#include <sstream>

/// A new array with the text gathered in `stream` and a terminating zero, cut at the text's first
/// zero byte. The stream is not changed. The caller releases it with delete[]. Throws
/// VakMemoryException ("not enough memory") when the array cannot be allocated.
/// Threads: confined, as the stream is. Phases: any.
/// Gives back: delete[].
[[nodiscard]] char* VakGetString(std::ostringstream& stream);
