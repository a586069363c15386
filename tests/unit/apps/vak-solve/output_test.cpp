#include "apps/vak-solve/output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>
#include <string>
#include <thread>

#include "apps/vak-solve/errors.h"

namespace vaksolve {
namespace {

/// A stream over a descriptor, as main() sets it up.
struct Stream {
  explicit Stream(int descriptor) : buffer(descriptor), out(&buffer) {
    out.exceptions(std::ios::badbit);
  }
  DescriptorBuffer buffer;
  std::ostream out;
};

TEST(DescriptorBuffer, WritesEverythingInOrder) {
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  std::string expected;
  for (int i = 0; i < 50000; ++i) expected += std::to_string(i) + '\n';
  // The pipe holds less than is written, so that writes come to wait and end half way.
  std::string text;
  std::thread reader([&] {
    char part[1000];
    for (ssize_t size; (size = read(pipe[0], part, sizeof(part))) > 0;) {
      text.append(part, static_cast<std::size_t>(size));
    }
  });
  Stream stream(pipe[1]);
  for (int i = 0; i < 50000; ++i) stream.out << i << '\n';
  stream.out.flush();
  close(pipe[1]);
  reader.join();
  close(pipe[0]);
  EXPECT_EQ(text, expected);
}

TEST(DescriptorBuffer, KeepsTextUntilItIsFlushed) {
  int pipe[2];
  ASSERT_EQ(::pipe2(pipe, O_NONBLOCK), 0);
  Stream stream(pipe[1]);
  stream.out << "text";
  char part[10];
  EXPECT_EQ(read(pipe[0], part, sizeof(part)), -1);
  stream.out.flush();
  EXPECT_EQ(read(pipe[0], part, sizeof(part)), 4);
  close(pipe[0]);
  close(pipe[1]);
}

TEST(DescriptorBuffer, ThrowsWithTheReasonWhenAFlushFails) {
  const int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  Stream stream(full);
  stream.out << "text";
  try {
    stream.out.flush();
    FAIL() << "nothing was thrown";
  } catch (const OutputError& error) {
    EXPECT_STREQ(error.what(), "standard output: No space left on device");
  }
  close(full);
}

TEST(DescriptorBuffer, ThrowsWhenItOverflows) {
  const int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  Stream stream(full);
  const std::string large(1 << 17, 'x');
  EXPECT_THROW(stream.out << large, OutputError);
  close(full);
}

}  // namespace
}  // namespace vaksolve
