#pragma once

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
#include "blindfold/model/json/encoded_names.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/model/record.h"

/// The definition of `JSONEncoder::encode`, made from field tables. Included where a record is
/// defined, which instantiates it:
///
///     template std::string JSONEncoder::encode(const CameraInfo&) const;
namespace blindfold {

/// Estimates the length of the JSON text of a value, one `measure` for each type of field. The
/// estimate is too small only when a string needs escape sequences.
class JSONMeasure {
 public:
  static std::size_t measure(bool /*value*/) { return 5; }
  static std::size_t measure(std::int64_t /*value*/) { return 20; }
  static std::size_t measure(double /*value*/) { return 24; }
  static std::size_t measure(const std::string& value) { return value.size() + 2; }
  static std::size_t measure(Instant /*value*/) { return 22; }

  template <Enumeration E>
  static std::size_t measure(E value) {
    return rawValue(value).size() + 2;
  }

  template <class T>
  static std::size_t measure(const std::optional<T>& value) {
    return value ? measure(*value) : 0;
  }

  template <class T>
  static std::size_t measure(const std::vector<T>& elements) {
    std::size_t length = 2;
    for (const T& element : elements) length += measure(element) + 1;
    return length;
  }

  template <class T>
  static std::size_t measure(const std::map<std::string, T>& map) {
    std::size_t length = 2;
    for (const auto& [key, value] : map) length += measure(key) + 1 + measure(value) + 1;
    return length;
  }

  template <Record T>
  static std::size_t measure(const T& record) {
    return std::apply(
        [&](const auto&... field) {
          return (2 + ... + (field.name.size() + 4 + measure(record.*field.member)));
        },
        FieldTable<T>::fields);
  }
};

/// Writes one JSON text, one `write` for each type of field.
class JSONWriter {
 public:
  /// A writer of a text of about `expectedLength` bytes.
  explicit JSONWriter(std::size_t expectedLength) { json_.reserve(expectedLength); }

  /// Returns the text written so far and leaves none.
  std::string take() { return std::move(json_); }

  void write(bool value);
  void write(std::int64_t value);
  void write(double value);
  void write(const std::string& value);
  void write(Instant value);

  template <Enumeration E>
  void write(E value) {
    json_ += '"';
    json_ += rawValue(value);
    json_ += '"';
  }

  template <class T>
  void write(const std::vector<T>& elements) {
    json_ += '[';
    for (const T& element : elements) {
      write(element);
      json_ += ',';
    }
    close('[', ']');
  }

  template <class T>
  void write(const std::map<std::string, T>& map) {
    KeyedEntries<T> entries;
    entries.reserve(map.size());
    for (const auto& [key, value] : map) entries.emplace_back(key, value);
    sortByKey(entries);
    json_ += '{';
    for (const auto& [key, value] : entries) {
      writeKey(key.key());
      write(value);
      json_ += ',';
    }
    close('{', '}');
  }

  template <Record T>
  void write(const T& record) {
    const auto writeFields = [&]<std::size_t... index>(std::index_sequence<index...>) {
      (writeField<T, rowsInKeyOrder<T>[index]>(record), ...);
    };
    json_ += '{';
    writeFields(std::make_index_sequence<fieldCount<T>>{});
    close('{', '}');
  }

 private:
  template <Record T, std::size_t row>
  void writeField(const T& record) {
    writeMember(std::string_view(encodedKey<T, row>.data(), encodedKey<T, row>.size()),
                record.*std::get<row>(FieldTable<T>::fields).member);
  }

  template <class T>
  void writeMember(std::string_view encodedKey, const std::optional<T>& value) {
    if (value) writeMember(encodedKey, *value);
  }

  template <class T>
  void writeMember(std::string_view encodedKey, const T& value) {
    json_ += encodedKey;
    write(value);
    json_ += ',';
  }

  void writeKey(std::string_view key);

  /// Closes an array or object: `closer` replaces the comma after the last value, if there is one.
  void close(char opener, char closer);

  std::string json_;
};

template <class T>
std::string JSONEncoder::encode(const T& record) const {
  static_assert(Record<T>);
  JSONWriter writer(JSONMeasure::measure(record));
  writer.write(record);
  return writer.take();
}

}  // namespace blindfold
