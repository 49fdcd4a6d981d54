#include "blindfold/model/json/json_decoder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/enumerations.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/instant.h"
#include "blindfold/model/json/decoding_error.h"
#include "blindfold/model/json/excerpt.h"
#include "blindfold/model/json/iso8601.h"
#include "blindfold/model/json/json_value.h"
#include "blindfold/model/json/number.h"
#include "blindfold/model/json/place.h"
#include "blindfold/model/json/scanner.h"

namespace blindfold {

namespace {

/// The index of the field that `key` names, or nothing.
template <Record T>
std::optional<std::size_t> fieldNamed(std::string_view key) {
  const auto name = std::find(fieldNames<T>.begin(), fieldNames<T>.end(), key);
  if (name == fieldNames<T>.end()) return std::nullopt;
  return static_cast<std::size_t>(name - fieldNames<T>.begin());
}

template <Record T>
std::optional<std::size_t> fieldNamed(const JSONString& key) {
  return key.hasEscapes() ? fieldNamed<T>(key.text()) : fieldNamed<T>(key.content);
}

/// The values of the record's fields, in the order of its table.
template <Record T>
auto valuesOfFields(const JSONValue& object) {
  std::array<std::optional<JSONValue>, fieldCount<T>> values;
  JSONMembers members(object);
  while (const auto member = members.next()) {
    const auto index = fieldNamed<T>(member->key);
    if (index && !values[*index]) values[*index] = member->value;
  }
  return values;
}

[[noreturn]] void fail(DecodingError::Kind kind, const Place& place, std::string_view trouble) {
  throw DecodingError(kind, place.description() + ": " + std::string(trouble));
}

[[noreturn]] void fail(DecodingError::Kind kind, const Place& place, std::string_view wanted,
                       std::string_view found) {
  fail(kind, place, "expected " + std::string(wanted) + ", found " + std::string(found));
}

/// Fails on a value that is of the right type but says nothing usable.
[[noreturn]] void reject(const JSONValue& value, const Place& place, std::string_view wanted) {
  fail(DecodingError::Kind::dataCorrupted, place, wanted, excerpt(value));
}

/// Fails unless `value` is of type `type`, which people know as `wanted`.
void expect(JSONType type, const JSONValue& value, const Place& place, std::string_view wanted) {
  const JSONType found = value.type();
  if (found == type) return;
  const auto kind = found == JSONType::null ? DecodingError::Kind::valueNotFound
                                            : DecodingError::Kind::typeMismatch;
  fail(kind, place, wanted, nameOf(found));
}

/// How a value becomes a field, for each type that a field can have. Every `read` takes a value,
/// where it stands and what to set, and throws `DecodingError` when it cannot.
struct ValueReader {
  static void read(const JSONValue& value, const Place& place, bool& result) {
    expect(JSONType::boolean, value, place, "a boolean");
    result = value.boolean();
  }

  static void read(const JSONValue& value, const Place& place, std::int64_t& result) {
    expect(JSONType::number, value, place, "an integer");
    const auto integer = parseInteger(value.text);
    if (!integer) reject(value, place, "an integer that fits in 64 bits");
    result = *integer;
  }

  static void read(const JSONValue& value, const Place& place, double& result) {
    expect(JSONType::number, value, place, "a number");
    const auto number = parseDouble(value.text);
    if (!number) reject(value, place, "a finite number");
    result = *number;
  }

  static void read(const JSONValue& value, const Place& place, std::string& result) {
    expect(JSONType::string, value, place, "a string");
    result = value.string().text();
  }

  static void read(const JSONValue& value, const Place& place, Instant& result) {
    expect(JSONType::string, value, place, "a string");
    const auto instant = parseISO8601(value.string().text());
    if (!instant) reject(value, place, "an ISO-8601 date");
    result = *instant;
  }

  template <Enumeration E>
  static void read(const JSONValue& value, const Place& place, E& result) {
    expect(JSONType::string, value, place, "a string");
    const auto enumerated = fromRawValue<E>(value.string().text());
    if (!enumerated) reject(value, place, "a " + std::string(EnumerationTable<E>::name));
    result = *enumerated;
  }

  template <class T>
  static void read(const JSONValue& value, const Place& place, std::optional<T>& result) {
    read(value, place, result.emplace());
  }

  template <class T>
  static void read(const JSONValue& value, const Place& place, std::vector<T>& result) {
    expect(JSONType::array, value, place, "an array");
    JSONElements elements(value);
    while (const auto element = elements.next()) {
      const Place placeOfElement(place, result.size());
      read(*element, placeOfElement, result.emplace_back());
    }
  }

  template <class T>
  static void read(const JSONValue& value, const Place& place, std::map<std::string, T>& result) {
    expect(JSONType::object, value, place, "an object");
    JSONMembers members(value);
    while (const auto member = members.next()) {
      const auto [entry, isNew] = result.try_emplace(member->key.text());
      if (isNew) read(member->value, Place(place, member->key), entry->second);
    }
  }

  template <Record T>
  static void read(const JSONValue& value, const Place& place, T& result) {
    expect(JSONType::object, value, place, "an object");
    const auto values = valuesOfFields<T>(value);
    const auto readEach = [&]<std::size_t... index>(std::index_sequence<index...>) {
      (readField(values[index], place, std::get<index>(FieldTable<T>::fields), result), ...);
    };
    readEach(std::make_index_sequence<fieldCount<T>>{});
  }

  template <class T, class Value>
  static void readField(const std::optional<JSONValue>& value, const Place& outer,
                        const Field<T, Value>& field, T& result) {
    const bool isAbsent = !value || value->type() == JSONType::null;
    if (isAbsent && field.presence != Presence::required) return;
    const Place place(outer, field.name);
    if (!value) fail(DecodingError::Kind::keyNotFound, place, "the key is missing");
    read(*value, place, result.*field.member);
  }
};

}  // namespace

template <Record T>
T JSONDecoder::decode(std::string_view bytes) const {
  T record{};
  ValueReader::read(scanJSON(bytes), Place(), record);
  return record;
}

template CameraInfo JSONDecoder::decode(std::string_view) const;
template TargetService JSONDecoder::decode(std::string_view) const;
template LaunchdServiceState JSONDecoder::decode(std::string_view) const;
template DetectionResult JSONDecoder::decode(std::string_view) const;
template HoldRequest JSONDecoder::decode(std::string_view) const;
template HeldTarget JSONDecoder::decode(std::string_view) const;
template HoldState JSONDecoder::decode(std::string_view) const;
template OperationResult JSONDecoder::decode(std::string_view) const;

}  // namespace blindfold
