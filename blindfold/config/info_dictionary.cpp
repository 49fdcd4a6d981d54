#include "blindfold/config/info_dictionary.h"

#include <optional>
#include <utility>
#include <variant>

#include "blindfold/config/white_space.h"
#include "blindfold/platform/dictionary_value.h"

namespace blindfold {
namespace {

// The trimmed text, empty when the value is no text.
std::string trimmedText(const std::optional<DictionaryValue>& value) {
  const auto* const text = value ? std::get_if<std::string>(&*value) : nullptr;
  return text == nullptr ? std::string() : std::string(trimmingWhiteSpace(*text));
}

// The trimmed texts that are not empty; none when the value is no array of texts.
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
