#include "blindfold/model/json/coding_path.h"

#include "blindfold/text/one_line.h"

namespace blindfold {
namespace {
constexpr std::size_t maximumExcerptLength = 48;

void appendStep(std::string& path, std::string_view name) {
  if (!path.empty()) path += '.';
  path += name;
}

void appendStep(std::string& path, std::size_t index) {
  path += '[' + std::to_string(index) + ']';
}

void appendStep(std::string& path, const JSONString& key) {
  path += '[' + excerpt(key) + ']';
}
}  // namespace

std::string CodingPath::description() const {
  if (outer_ == nullptr) return "the document";
  std::string text;
  appendTo(text);
  return text;
}

void CodingPath::appendTo(std::string& text) const {
  if (outer_ == nullptr) return;
  outer_->appendTo(text);
  std::visit([&](const auto& step) { appendStep(text, step); }, step_);
}

std::string excerpt(const JSONString& string) {
  return '"' + oneLineExcerpt(string.content, maximumExcerptLength) + '"';
}

std::string excerpt(const JSONValue& value) {
  if (value.type() == JSONType::string) return excerpt(value.string());
  return oneLineExcerpt(value.text, maximumExcerptLength);
}

}  // namespace blindfold
