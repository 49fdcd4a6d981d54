#include "blindfold/model/json/record_decoding.h"

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/iso8601.h"
#include "blindfold/model/json/number.h"

namespace blindfold {
namespace {
[[noreturn]] void fail(DecodingError::Kind kind, const CodingPath& path, std::string_view wanted,
                       std::string_view found) {
  throw DecodingError(kind, path.description() + ": expected " + std::string(wanted) + ", found " +
                                std::string(found));
}

/// Throws the error of a value that is of the right type but not valid.
[[noreturn]] void reject(const JSONValue& value, const CodingPath& path, std::string_view wanted) {
  fail(DecodingError::Kind::dataCorrupted, path, wanted, excerpt(value));
}
}  // namespace

void ValueReader::expect(JSONType type, const JSONValue& value, const CodingPath& path,
                         std::string_view wanted) {
  const JSONType found = value.type();
  if (found == type) return;
  const auto kind = found == JSONType::null ? DecodingError::Kind::valueNotFound
                                            : DecodingError::Kind::typeMismatch;
  fail(kind, path, wanted, nameOf(found));
}

void ValueReader::rejectCase(const JSONValue& value, const CodingPath& path,
                             std::string_view enumeration) {
  reject(value, path, "a " + std::string(enumeration));
}

void ValueReader::rejectAbsence(const CodingPath& path) {
  throw DecodingError(DecodingError::Kind::keyNotFound,
                      path.description() + ": the key is missing");
}

void ValueReader::read(const JSONValue& value, const CodingPath& path, bool& result) {
  expect(JSONType::boolean, value, path, "a boolean");
  result = value.boolean();
}

void ValueReader::read(const JSONValue& value, const CodingPath& path, std::int64_t& result) {
  expect(JSONType::number, value, path, "an integer");
  const auto integer = parseInteger(value.text);
  if (!integer) {
    reject(value, path, isInteger(value.text) ? "an integer that fits in 64 bits" : "an integer");
  }
  result = *integer;
}

void ValueReader::read(const JSONValue& value, const CodingPath& path, double& result) {
  expect(JSONType::number, value, path, "a number");
  const auto number = parseDouble(value.text);
  if (!number) reject(value, path, "a finite number");
  result = *number;
}

void ValueReader::read(const JSONValue& value, const CodingPath& path, std::string& result) {
  expect(JSONType::string, value, path, "a string");
  result = value.string().text();
}

void ValueReader::read(const JSONValue& value, const CodingPath& path, Instant& result) {
  expect(JSONType::string, value, path, "a string");
  const auto instant = parseISO8601(value.string().text());
  if (!instant) reject(value, path, "an ISO-8601 date");
  result = *instant;
}

}  // namespace blindfold
