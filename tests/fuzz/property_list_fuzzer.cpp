#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>

#include "platform/posix/property_list.h"

namespace blindfold {
namespace {

// What follows a first byte of UTF-8, by the standard's table of well-formed sequences.
struct Sequence {
  unsigned char firstLow, firstHigh;
  unsigned char following;
  unsigned char secondLow, secondHigh;
};

constexpr Sequence sequences[] = {
    {0x01, 0x7f, 0, 0, 0},       {0xc2, 0xdf, 1, 0x80, 0xbf}, {0xe0, 0xe0, 2, 0xa0, 0xbf},
    {0xe1, 0xec, 2, 0x80, 0xbf}, {0xed, 0xed, 2, 0x80, 0x9f}, {0xee, 0xef, 2, 0x80, 0xbf},
    {0xf0, 0xf0, 3, 0x90, 0xbf}, {0xf1, 0xf3, 3, 0x80, 0xbf}, {0xf4, 0xf4, 3, 0x80, 0x8f},
};

bool isWithin(char byte, unsigned char low, unsigned char high) {
  return static_cast<unsigned char>(byte) >= low && static_cast<unsigned char>(byte) <= high;
}

// The length of the sequence that begins `text`; 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
  for (const auto& sequence : sequences) {
    if (!isWithin(text.front(), sequence.firstLow, sequence.firstHigh)) continue;
    const auto length = static_cast<std::size_t>(sequence.following) + 1;
    if (text.size() < length) return 0;
    if (length > 1 && !isWithin(text[1], sequence.secondLow, sequence.secondHigh)) return 0;
    for (std::size_t i = 2; i < length; ++i) {
      if (!isWithin(text[i], 0x80, 0xbf)) return 0;
    }
    return length;
  }
  return 0;
}

// Texts are UTF-8 without NUL, whatever the list holds.
void expectText(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    if (length == 0) std::abort();
    text.remove_prefix(length);
  }
}

void expectTexts(const DictionaryValue& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) expectText(*text);
  if (const auto* const array = std::get_if<ValueArray>(&value)) {
    for (const auto& element : *array) expectText(element.value_or(""));
  }
}

}  // namespace
}  // namespace blindfold

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string document(data, data + size);
  for (const auto& [key, value] : blindfold::parsePropertyList(document)) {
    blindfold::expectText(key);
    blindfold::expectTexts(value);
  }
  return 0;
}
