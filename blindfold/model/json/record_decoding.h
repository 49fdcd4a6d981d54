#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "blindfold/model/json/coding_path.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_value.h"
#include "blindfold/model/json/list_growth.h"
#include "blindfold/model/json/single_pass_reader.h"
#include "blindfold/model/record.h"

/// The definition of `JSONDecoder::decode`, made from field tables. Included where a record is
/// defined, which instantiates it:
///
///     template CameraInfo JSONDecoder::decode(std::string_view) const;
namespace blindfold {

/// Decodes values of a checked text, one `read` for each type of field. Each takes the value, its
/// path and the field to set, and throws `DecodingError` when the value is not of the type.
class ValueReader {
 public:
  static void read(const JSONValue& value, const CodingPath& path, bool& result);
  static void read(const JSONValue& value, const CodingPath& path, std::int64_t& result);
  static void read(const JSONValue& value, const CodingPath& path, double& result);
  static void read(const JSONValue& value, const CodingPath& path, std::string& result);
  static void read(const JSONValue& value, const CodingPath& path, Instant& result);

  template <Enumeration E>
  static void read(const JSONValue& value, const CodingPath& path, E& result) {
    expect(JSONType::string, value, path, "a string");
    const auto found = fromRawValue<E>(value.string().text());
    if (!found) rejectCase(value, path, EnumerationCoding<E>::name);
    result = *found;
  }

  template <class T>
  static void read(const JSONValue& value, const CodingPath& path, std::optional<T>& result) {
    read(value, path, result.emplace());
  }

  template <class T>
  static void read(const JSONValue& value, const CodingPath& path, std::vector<T>& result) {
    expect(JSONType::array, value, path, "an array");
    JSONElements elements(value);
    while (const auto element = elements.next()) {
      reserveForOneMore(result, static_cast<std::size_t>(value.text.end() - element->text.begin()));
      const CodingPath pathOfElement(path, result.size());
      read(*element, pathOfElement, result.emplace_back());
    }
    releaseExcess(result);
  }

  template <class T>
  static void read(const JSONValue& value, const CodingPath& path,
                   std::map<std::string, T>& result) {
    expect(JSONType::object, value, path, "an object");
    JSONMembers members(value);
    while (const auto member = members.next()) {
      const auto [entry, isNew] = result.try_emplace(member->key.text());
      if (isNew) read(member->value, CodingPath(path, member->key), entry->second);
    }
  }

  template <Record T>
  static void read(const JSONValue& value, const CodingPath& path, T& result) {
    expect(JSONType::object, value, path, "an object");
    const auto values = valuesOfFields<T>(value);
    const auto readEach = [&]<std::size_t... index>(std::index_sequence<index...>) {
      (readField(values[index], path, std::get<index>(FieldTable<T>::fields), result), ...);
    };
    readEach(std::make_index_sequence<fieldCount<T>>{});
  }

 private:
  /// Throws unless `value` is of type `type`, named `wanted` in the error.
  static void expect(JSONType type, const JSONValue& value, const CodingPath& path,
                     std::string_view wanted);

  [[noreturn]] static void rejectCase(const JSONValue& value, const CodingPath& path,
                                      std::string_view enumeration);

  [[noreturn]] static void rejectAbsence(const CodingPath& path);

  template <class T, class Value>
  static void readField(const std::optional<JSONValue>& value, const CodingPath& outer,
                        const Field<T, Value>& field, T& result) {
    const bool isAbsent = !value || value->type() == JSONType::null;
    if (isAbsent && field.presence != Presence::required) return;
    const CodingPath path(outer, field.name);
    if (!value) rejectAbsence(path);
    read(*value, path, result.*field.member);
  }

  /// The values of the record's fields, in the order of its table.
  template <Record T>
  static auto valuesOfFields(const JSONValue& object) {
    std::array<std::optional<JSONValue>, fieldCount<T>> values;
    JSONMembers members(object);
    while (const auto member = members.next()) {
      const auto index = fieldNamed<T>(member->key);
      if (index && !values[*index]) values[*index] = member->value;
    }
    return values;
  }

  template <Record T>
  static std::optional<std::size_t> fieldNamed(const JSONString& key) {
    return key.hasEscapes() ? fieldNamed<T>(key.text()) : fieldNamed<T>(key.content);
  }

  template <Record T>
  static std::optional<std::size_t> fieldNamed(std::string_view key) {
    const auto name = std::find(fieldNames<T>.begin(), fieldNames<T>.end(), key);
    if (name == fieldNames<T>.end()) return std::nullopt;
    return static_cast<std::size_t>(name - fieldNames<T>.begin());
  }
};

/// Decodes a text in three passes: checks all of it, finds the values of each record's fields, and
/// decodes them in the order of its table. Throws the error that is the first in this order.
template <Record T>
T decodeCarefully(std::string_view bytes) {
  T record{};
  ValueReader::read(scanJSON(bytes), CodingPath(), record);
  return record;
}

template <class T>
T JSONDecoder::decode(std::string_view bytes) const {
  static_assert(Record<T>);
  if (auto record = decodeInOnePass<T>(bytes)) return *std::move(record);
  return decodeCarefully<T>(bytes);
}

}  // namespace blindfold
