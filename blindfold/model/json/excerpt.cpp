#include "blindfold/model/json/excerpt.h"

#include <cstddef>

#include "blindfold/text/one_line.h"

namespace blindfold {

namespace {

constexpr std::size_t lengthOfExcerpt = 48;

}  // namespace

std::string excerpt(const JSONString& string) {
  return '"' + oneLineExcerpt(string.content, lengthOfExcerpt) + '"';
}

std::string excerpt(const JSONValue& value) {
  if (value.type() == JSONType::string) return excerpt(value.string());
  return oneLineExcerpt(value.text, lengthOfExcerpt);
}

}  // namespace blindfold
