#include "blindfold/config/info_dictionary.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>
#include <variant>

#include "blindfold/platform/dictionary_value.h"

namespace blindfold {
namespace {
/// The white-space and newline characters in UTF-8. No encoded character is the end of another, so
/// comparing bytes at either end of a text finds whole characters only.
constexpr std::array<std::string_view, 26> whiteSpaceCharacters{
    " ",      "\t",     "\n",     "\v",     "\f",     "\r",     "\u0085", "\u00A0", "\u1680",
    "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008",
    "\u2009", "\u200A", "\u200B", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000",
};

/// The number of bytes of the white-space character that satisfies `matches`; 0 when none does.
/// `outermost` is the byte at the end of the text that `matches` examines.
template <class Predicate>
std::size_t sizeOfMatch(char outermost, const Predicate& matches) {
  const bool isVisibleASCII = outermost > ' ' && outermost <= '~';
  if (isVisibleASCII) return 0;
  const auto found =
      std::find_if(whiteSpaceCharacters.begin(), whiteSpaceCharacters.end(), matches);
  return found == whiteSpaceCharacters.end() ? 0 : found->size();
}

/// The trimmed text of `value`; empty when it is absent or not text.
std::string trimmedText(const std::optional<DictionaryValue>& value) {
  const std::string* const text = textOf(value);
  return text == nullptr ? std::string() : std::string(trimmingWhiteSpace(*text));
}

/// The trimmed texts of `value` that are not empty; empty when it is not an array of texts.
std::vector<std::string> trimmedTexts(const std::optional<DictionaryValue>& value) {
  const auto* const array = value ? std::get_if<ValueArray>(&*value) : nullptr;
  if (array == nullptr) return {};

  std::vector<std::string> texts;
  for (const auto& element : *array) {
    if (!element) return {};
    const auto text = trimmingWhiteSpace(*element);
    if (!text.empty()) texts.emplace_back(text);
  }
  return texts;
}
}  // namespace

std::string_view trimmingWhiteSpace(std::string_view text) {
  const auto startsWith = [&](auto each) { return text.starts_with(each); };
  const auto endsWith = [&](auto each) { return text.ends_with(each); };
  while (const auto size = text.empty() ? 0 : sizeOfMatch(text.front(), startsWith)) {
    text.remove_prefix(size);
  }
  while (const auto size = text.empty() ? 0 : sizeOfMatch(text.back(), endsWith)) {
    text.remove_suffix(size);
  }
  return text;
}

std::string readInfoString(const Bundle& bundle, std::string_view key,
                           std::string_view defaultValue) {
  auto text = trimmedText(bundle.objectForInfoDictionaryKey(key));
  return text.empty() ? std::string(defaultValue) : text;
}

std::vector<std::string> readInfoStringList(const Bundle& bundle, std::string_view pluralKey,
                                            std::string_view singularKey,
                                            std::span<const std::string_view> defaultValue) {
  auto texts = trimmedTexts(bundle.objectForInfoDictionaryKey(pluralKey));
  if (!texts.empty()) return texts;

  auto text = trimmedText(bundle.objectForInfoDictionaryKey(singularKey));
  if (!text.empty()) return {std::move(text)};

  return {defaultValue.begin(), defaultValue.end()};
}

}  // namespace blindfold
