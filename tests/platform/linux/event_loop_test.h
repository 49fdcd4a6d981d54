#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <memory>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {

struct Pipe {
  FileDescriptor reader;
  FileDescriptor writer;

  void fill() const { ASSERT_EQ(write(writer.get(), "x", 1), 1); }
};

inline Pipe makePipe() {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// A loop that never waits long: whoever tests what does not happen needs rounds that end.
struct ImpatientLoop {
  EventLoop loop;
  std::shared_ptr<WorkItem> tick;

  void runRound() {
    tick = loop.schedule(std::chrono::milliseconds(1), [] {});
    loop.runRound();
    tick->cancel();
  }
};

inline void runRounds(EventLoop& loop, int count) {
  for (; count > 0; --count) loop.runRound();
}

}  // namespace blindfold
