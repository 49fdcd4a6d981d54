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
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/model/json/json_string.h"
#include "blindfold/model/json/key_order.h"
#include "blindfold/model/record.h"

/// The definition of `JSONEncoder::encode`, made from field tables. Included where a record is
/// defined, which instantiates it:
///
///     template std::string JSONEncoder::encode(const CameraInfo&) const;
namespace blindfold {

/// Keys, each with a value, to be put in order.
template <class T>
using KeyedEntries = std::vector<std::pair<SortableKey, T>>;

template <class T>
constexpr void sortByKey(KeyedEntries<T>& entries) {
  std::sort(entries.begin(), entries.end(),
            [](const auto& left, const auto& right) { return left.first < right.first; });
}

/// The rows of the record's field table in the order of their keys.
template <Record T>
consteval auto rowsInKeyOrder() {
  KeyedEntries<std::size_t> fields;
  for (const std::string_view name : fieldNames<T>) fields.emplace_back(name, fields.size());
  sortByKey(fields);
  std::array<std::size_t, fieldCount<T>> rows{};
  std::transform(fields.begin(), fields.end(), rows.begin(),
                 [](const auto& field) { return field.second; });
  return rows;
}

/// Writes one JSON text, one `write` for each type of field.
class JSONWriter {
 public:
  /// Returns the text written so far and leaves none.
  std::string take() { return std::move(json_); }

  void write(bool value);
  void write(std::int64_t value);
  void write(double value);
  void write(const std::string& value);
  void write(Instant value);

  template <Enumeration E>
  void write(E value) {
    appendJSONString(json_, rawValue(value));
  }

  template <class T>
  void write(const std::vector<T>& elements) {
    json_ += '[';
    for (const T& element : elements) {
      separate();
      write(element);
    }
    json_ += ']';
  }

  template <class T>
  void write(const std::map<std::string, T>& map) {
    KeyedEntries<T> entries;
    entries.reserve(map.size());
    for (const auto& [key, value] : map) entries.emplace_back(key, value);
    sortByKey(entries);
    json_ += '{';
    for (const auto& [key, value] : entries) writeMember(key.key(), value);
    json_ += '}';
  }

  template <Record T>
  void write(const T& record) {
    const auto writeFields = [&]<std::size_t... index>(std::index_sequence<index...>) {
      constexpr auto rows = rowsInKeyOrder<T>();
      (writeField(record, std::get<rows[index]>(FieldTable<T>::fields)), ...);
    };
    json_ += '{';
    writeFields(std::make_index_sequence<fieldCount<T>>{});
    json_ += '}';
  }

 private:
  template <class T, class Value>
  void writeField(const T& record, const Field<T, Value>& field) {
    writeMember(field.name, record.*field.member);
  }

  template <class T>
  void writeMember(std::string_view key, const std::optional<T>& value) {
    if (value) writeMember(key, *value);
  }

  template <class T>
  void writeMember(std::string_view key, const T& value) {
    separate();
    appendJSONString(json_, key);
    json_ += ':';
    write(value);
  }

  /// Appends a comma, unless the next value is the first of its array or object.
  void separate();

  std::string json_;
};

template <class T>
std::string JSONEncoder::encode(const T& record) const {
  static_assert(Record<T>);
  JSONWriter writer;
  writer.write(record);
  return writer.take();
}

}  // namespace blindfold
