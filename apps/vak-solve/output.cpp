#include "apps/vak-solve/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "apps/vak-solve/errors.h"

namespace vaksolve {

DescriptorBuffer::DescriptorBuffer(int descriptor) : _descriptor(descriptor) {
  setp(_buffer.data(), _buffer.data() + Size);
}

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type c) {
  flush();
  if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
  return traits_type::not_eof(c);
}

int DescriptorBuffer::sync() {
  flush();
  return 0;
}

void DescriptorBuffer::flush() {
  const char* rest = pbase();
  const char* const end = pptr();
  // Whatever happens, nothing is written twice.
  setp(_buffer.data(), _buffer.data() + Size);
  while (rest != end) {
    const ssize_t written = write(_descriptor, rest, static_cast<std::size_t>(end - rest));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw OutputError(std::string("standard output: ") + std::strerror(errno));
    rest += written;
  }
}

}  // namespace vaksolve
