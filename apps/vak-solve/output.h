#pragma once

// Standard output that says why it cannot be written.

#include <array>
#include <streambuf>

namespace vaksolve {

/// A buffer over a file descriptor, which is not owned. A failed write throws OutputError
/// ("standard output: No space left on device"); streams that use it must have exceptions switched
/// on for badbit, so that it passes through.
class DescriptorBuffer : public std::streambuf {
 public:
  explicit DescriptorBuffer(int descriptor);

 protected:
  int_type overflow(int_type c) override;
  int sync() override;

 private:
  static constexpr std::size_t Size = 1 << 16;

  void flush();

  int _descriptor;
  std::array<char, Size> _buffer;
};

}  // namespace vaksolve
