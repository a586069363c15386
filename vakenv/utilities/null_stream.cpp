#include "vakenv/utilities/null_stream.h"

VakNullStream::Buf::Buf() = default;
VakNullStream::Buf::~Buf() = default;

// The stream base comes first, so it is bound to the buffer only once that exists.
VakNullStream::VakNullStream() : std::ostream(nullptr) { rdbuf(&_buf); }
VakNullStream::~VakNullStream() = default;
