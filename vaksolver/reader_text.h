#pragma once

// What the libraries' readers of model files say, in the words of this module.

#include <string>

/// What a reader says of a line or a file, without the marks that the libraries put around it and
/// in the words of docs/guide/errors.md where they are known; as the reader says it otherwise. A
/// text that says nothing becomes "the file cannot be understood".
[[nodiscard]] std::string VakExplainReaderText(std::string text);
