#include "blindfold/model/json/record_encoding.h"

#include <cmath>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/iso8601.h"
#include "blindfold/model/json/json_string.h"
#include "blindfold/model/json/number.h"

namespace blindfold {

void JSONWriter::write(bool value) {
  json_ += value ? "true" : "false";
}

void JSONWriter::write(std::int64_t value) {
  appendNumber(json_, value);
}

void JSONWriter::write(double value) {
  if (!std::isfinite(value)) throw EncodingError("a number that is not finite has no JSON form");
  appendNumber(json_, value);
}

void JSONWriter::write(const std::string& value) {
  appendJSONString(json_, value);
}

void JSONWriter::write(Instant value) {
  appendJSONString(json_, formatISO8601(value));
}

void JSONWriter::writeKey(std::string_view key) {
  appendJSONString(json_, key);
  json_ += ':';
}

void JSONWriter::close(char opener, char closer) {
  if (json_.back() == opener) {
    json_ += closer;
  } else {
    json_.back() = closer;
  }
}

}  // namespace blindfold
