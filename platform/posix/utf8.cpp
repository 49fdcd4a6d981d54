#include "platform/posix/utf8.h"

#include <array>

namespace blindfold {
namespace {

constexpr unsigned continuationBits = 6;
constexpr unsigned char continuationMask = 0x3f;

// One length of UTF-8 sequence: which first bytes begin it and which values need it.
struct SequenceForm {
  unsigned char leadMask;
  unsigned char lead;
  char32_t first;
  char32_t last;
};

// By length, from one byte on.
constexpr std::array<SequenceForm, 4> sequenceForms{{
    {0x80, 0x00, 0x0, 0x7f},
    {0xe0, 0xc0, 0x80, 0x7ff},
    {0xf0, 0xe0, 0x800, 0xffff},
    {0xf8, 0xf0, 0x10000, 0x10ffff},
}};

bool isSurrogate(char32_t value) {
  return value >= 0xd800 && value <= 0xdfff;
}

}  // namespace

std::optional<UTF8Scalar> firstScalar(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const auto lead = static_cast<unsigned char>(text.front());
  std::size_t size = 0;
  for (const auto& form : sequenceForms) {
    ++size;
    if ((lead & form.leadMask) != form.lead) continue;
    if (text.size() < size) return std::nullopt;
    char32_t value = lead & static_cast<unsigned char>(~form.leadMask);
    for (const char each : text.substr(1, size - 1)) {
      const auto byte = static_cast<unsigned char>(each);
      if ((byte & ~continuationMask & 0xff) != 0x80) return std::nullopt;
      value = value << continuationBits | (byte & continuationMask);
    }
    if (value < form.first || value > form.last || isSurrogate(value)) return std::nullopt;
    return UTF8Scalar{value, size};
  }
  return std::nullopt;
}

bool isUTF8(std::string_view text, bool (*isAllowed)(char32_t)) {
  while (!text.empty()) {
    const auto scalar = firstScalar(text);
    if (!scalar || !isAllowed(scalar->value)) return false;
    text.remove_prefix(scalar->size);
  }
  return true;
}

void appendUTF8(std::string& text, char32_t scalar) {
  std::size_t size = 1;
  while (scalar > sequenceForms[size - 1].last) ++size;
  auto shift = continuationBits * static_cast<unsigned>(size - 1);
  text += static_cast<char>(sequenceForms[size - 1].lead | scalar >> shift);
  while (shift > 0) {
    shift -= continuationBits;
    text += static_cast<char>(0x80 | (scalar >> shift & continuationMask));
  }
}

}  // namespace blindfold
