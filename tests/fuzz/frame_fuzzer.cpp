#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/platform_error.h"
#include "blindfold/text/one_line.h"
#include "tests/fuzz/require.h"

// For any bytes a reader gives the same frames, and then the same error, in whatever parts
// the bytes arrive, and a frame is the bytes that it was read from.

namespace blindfold {
namespace {
struct Reading {
  std::vector<Frame> frames;
  std::optional<std::string> error;

  bool operator==(const Reading&) const = default;
};

/// Reads `stream` in parts of `partSize` bytes.
Reading read(std::string_view stream, std::size_t partSize) {
  Reading reading;
  FrameReader reader;
  try {
    for (std::size_t begin = 0; begin < stream.size(); begin += partSize) {
      reader.append(stream.substr(begin, partSize));
      while (auto frame = reader.next()) reading.frames.push_back(std::move(*frame));
    }
  } catch (const PlatformError& error) {
    reading.error = error.what();
    require(*reading.error == oneLine(*reading.error), "an error is one line");
  }
  return reading;
}

void requireWhole(const Reading& reading, std::string_view stream) {
  Bytes bytes;
  for (const Frame& frame : reading.frames) bytes += encodeFrame(frame);
  require(stream.starts_with(bytes), "the frames are the bytes that they were read from");
}
}  // namespace
}  // namespace blindfold

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t partSize = data[0] % 32 + std::size_t{1};
  const std::string_view stream(reinterpret_cast<const char*>(data) + 1, size - 1);
  const auto whole = blindfold::read(stream, stream.size() + 1);
  blindfold::requireWhole(whole, stream);
  blindfold::require(whole == blindfold::read(stream, partSize), "parts make no difference");
  return 0;
}
