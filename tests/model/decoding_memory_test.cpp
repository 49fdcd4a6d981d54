#include <gtest/gtest.h>
#ifdef __APPLE__
#include <malloc/malloc.h>
#else
#include <malloc.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/model/sample_records.h"

namespace {
// The bytes that are allocated now, and the most that ever were.
std::size_t liveBytes = 0;
std::size_t peakBytes = 0;

/// The bytes that the system has given for `memory`.
std::size_t usableSize(void* memory) {
#ifdef __APPLE__
  return malloc_size(memory);
#else
  return malloc_usable_size(memory);
#endif
}
}  // namespace

// NOLINTBEGIN(cppcoreguidelines-owning-memory, misc-new-delete-overloads)
void* operator new(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  liveBytes += usableSize(memory);
  peakBytes = std::max(peakBytes, liveBytes);
  return memory;
}
void operator delete(void* memory) noexcept {
  liveBytes -= usableSize(memory);
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}
// NOLINTEND(cppcoreguidelines-owning-memory, misc-new-delete-overloads)

namespace blindfold {
namespace {
/// The most bytes allocated at one time in `body`, beside those allocated before.
template <class Body>
std::size_t peakOf(const Body& body) {
  const std::size_t before = liveBytes;
  peakBytes = before;
  body();
  return peakBytes - before;
}

constexpr std::size_t megabyte = 1U << 20U;

/// A detection of about `size` bytes whose notes are all `note`, and a last one.
std::string detectionWithNotes(std::string_view note, std::string_view lastNote, std::size_t size) {
  std::string text = R"({"cameras":[],"resolvedTargets":[],"serviceStates":[],"notes":[)";
  text.reserve(size + note.size() + 100);
  while (text.size() < size) {
    text += note;
    text += ',';
  }
  text += lastNote;
  return text + "]}";
}

TEST(DecodingMemoryTest, EmptyTextsTakeLessThanElevenTimesTheirReply) {
  const std::string text = detectionWithNotes(R"("")", R"("")", 8 * megabyte);
  const std::size_t peak = peakOf([&] {
    const auto result = JSONDecoder().decode<DetectionResult>(text);
    EXPECT_GT(result.notes.size(), 2'000'000U);
  });
  EXPECT_LT(peak, 11 * text.size());
}

TEST(DecodingMemoryTest, AReplyThatIsRefusedTakesNoMore) {
  const std::string text = detectionWithNotes(R"("")", "0", 8 * megabyte);
  const std::size_t peak =
      peakOf([&] { EXPECT_THROW(JSONDecoder().decode<DetectionResult>(text), DecodingError); });
  EXPECT_LT(peak, 11 * text.size());
}

TEST(DecodingMemoryTest, AListKeepsLittleRoomThatItDoesNotUse) {
  const std::string longNote = '"' + std::string(100, 'x') + '"';
  const std::string text = detectionWithNotes(longNote, longNote, megabyte);
  const auto result = JSONDecoder().decode<DetectionResult>(text);
  EXPECT_LE(result.notes.capacity(), 2 * result.notes.size());
}

TEST(EncodingMemoryTest, ATextIsWrittenOnce) {
  DetectionResult result;
  result.cameras.assign(10'000, sample::camera());
  result.notes.assign(100'000, "a note");
  std::size_t size = 0;
  const std::size_t peak = peakOf([&] { size = makeJSONEncoder().encode(result).size(); });
  EXPECT_LT(peak, size + size / 4);
}
}  // namespace
}  // namespace blindfold
