#include "blindfold/platform/posix/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

namespace blindfold {
namespace {
/// The read end of a pipe that holds `bytes` (few enough to fit) and has come to its end.
FileDescriptor pipeWith(const std::string& bytes) {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe(ends.data()), 0);
  const FileDescriptor writer(ends[1]);
  EXPECT_EQ(write(writer.get(), bytes.data(), bytes.size()), std::ssize(bytes));
  return FileDescriptor(ends[0]);
}

TEST(ReadToEndTest, TheBytesAreReadToTheEnd) {
  const std::string bytes = std::string("a\0b", 3) + std::string(65'000, 'x');
  EXPECT_EQ(readToEnd(pipeWith(bytes), bytes.size()), bytes);
  EXPECT_EQ(readToEnd(pipeWith(""), 0), "");
}

TEST(ReadToEndTest, MoreBytesThanTheMaximumAreNotRead) {
  errno = 0;
  EXPECT_EQ(readToEnd(pipeWith("abcd"), 3), std::nullopt);
  EXPECT_EQ(errno, EFBIG);
}

TEST(ReadToEndTest, AnEndlessFileIsGivenUpAtTheMaximum) {
  EXPECT_EQ(readToEnd(FileDescriptor(open("/dev/zero", O_RDONLY)), 1'000'000), std::nullopt);
  EXPECT_EQ(errno, EFBIG);
}

TEST(ReadToEndTest, AFileThatCannotBeReadHasTheSystemsReason) {
  EXPECT_EQ(readToEnd(FileDescriptor(open("/", O_RDONLY)), 100), std::nullopt);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(readToEnd(FileDescriptor(), 100), std::nullopt);
  EXPECT_EQ(errno, EBADF);
}

TEST(ShouldTryAgainTest, WhatWouldWaitOrWasInterruptedIsTriedAgain) {
  EXPECT_TRUE(shouldTryAgain(EAGAIN));
  EXPECT_TRUE(shouldTryAgain(EINTR));
  EXPECT_FALSE(shouldTryAgain(ECONNREFUSED));
}
}  // namespace
}  // namespace blindfold
