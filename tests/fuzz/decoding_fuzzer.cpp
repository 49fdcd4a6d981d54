#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/model/json/record_decoding.h"
#include "blindfold/text/one_line.h"
#include "blindfold/text/plain_characters.h"
#include "blindfold/text/utf8.h"
#include "tests/fuzz/require.h"

// For any bytes decoding gives a record, or a `DecodingError` whose text is one line of valid
// UTF-8. Decoding in one pass gives the same record, and none where there is an error. A record
// encodes to one line, which decodes to an equal record, which encodes to the same bytes. What
// looks at eight bytes at a time finds what looking at each finds.

namespace {
using namespace blindfold;

template <char... special>
void requireSamePlainLength(std::string_view bytes) {
  const auto end = std::find_if_not(bytes.begin(), bytes.end(), isPlainCharacter<special...>);
  require(plainLength<special...>(bytes) == static_cast<std::size_t>(end - bytes.begin()),
          "plain characters are as many either way");
}

template <Record T>
void requireRoundTrip(const T& record, const std::string& text) {
  const T again = JSONDecoder().decode<T>(text);
  if constexpr (requires { record == again; }) {
    require(record == again, "an encoded record decodes to an equal record");
  }
  require(makeJSONEncoder().encode(again) == text, "an equal record encodes to the same bytes");
  require(text.find_first_of("\n\r") == std::string::npos, "a record encodes to one line");
}

/// The record that `bytes` encode, or `std::nullopt`.
template <Record T>
std::optional<T> decode(std::string_view bytes) {
  try {
    return decodeCarefully<T>(bytes);
  } catch (const DecodingError& error) {
    require(error.what() == oneLine(error.what()), "an error is one line of valid UTF-8");
    return std::nullopt;
  }
}

template <Record T>
void fuzz(std::string_view bytes) {
  const auto record = decode<T>(bytes);
  const auto recordOfOnePass = decodeInOnePass<T>(bytes);
  require(record.has_value() == recordOfOnePass.has_value(), "one pass accepts the same texts");
  if (!record) return;
  const std::string text = makeJSONEncoder().encode(*record);
  require(makeJSONEncoder().encode(*recordOfOnePass) == text, "one pass gives the same record");
  requireRoundTrip(*record, text);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto isAny = [](char32_t) { return true; };
  require(isValidUTF8(bytes) == isValidUTF8(bytes, isAny), "text is valid UTF-8 either way");
  requireSamePlainLength<'"', '\\'>(bytes);
  requireSamePlainLength<'"', '\\', '/'>(bytes);
  requireSamePlainLength<'<', '&', ']'>(bytes);
  fuzz<DetectionResult>(bytes);
  fuzz<HoldRequest>(bytes);
  fuzz<HoldState>(bytes);
  fuzz<OperationResult>(bytes);
  return 0;
}
