#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>

#include "blindfold/platform/linux/property_list.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
// Texts are UTF-8 without NUL, whatever the list holds.
void expectText(std::string_view text) {
  const auto isNotNUL = [](char32_t codePoint) { return codePoint != 0; };
  if (!isValidUTF8(text, isNotNUL)) std::abort();
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
  for (const auto& entry : blindfold::parsePropertyList(document)) {
    const std::string key = entry.key().decoded();
    blindfold::expectText(key);
    if (!(entry.key() == key)) std::abort();
    blindfold::expectTexts(entry.value());
  }
  return 0;
}
