#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

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

namespace blindfold {
namespace {
using Entries = std::vector<std::pair<std::string, DictionaryValue>>;

Entries entriesOf(const std::string& document) {
  Entries entries;
  for (const auto& entry : parsePropertyList(document)) {
    entries.emplace_back(entry.key().decoded(), entry.value());
  }
  return entries;
}

/// `document` with white space in every tag, which keeps its elements from being read the short
/// way.
std::string withoutShortForms(std::string document) {
  for (const std::string_view tag : {"<key>", "</key>", "<string>", "</string>"}) {
    for (auto at = document.find(tag); at != std::string::npos; at = document.find(tag, at)) {
      document.insert(at + tag.size() - 1, " ");
    }
  }
  return document;
}
}  // namespace
}  // namespace blindfold

// A list is well-formed or not, its texts are UTF-8, and its elements mean the same the short way
// and the long way. In a section of character data a tag is text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string document(data, data + size);
  if (document.find("<![CDATA[") == std::string::npos &&
      blindfold::entriesOf(document) !=
          blindfold::entriesOf(blindfold::withoutShortForms(document))) {
    std::abort();
  }
  for (const auto& entry : blindfold::parsePropertyList(document)) {
    const std::string key = entry.key().decoded();
    blindfold::expectText(key);
    if (!(entry.key() == key)) std::abort();
    blindfold::expectTexts(entry.value());
  }
  return 0;
}
