#include "blindfold/model/json/json_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/enumerations.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/instant.h"
#include "blindfold/model/json/encoding_error.h"
#include "blindfold/model/json/iso8601.h"
#include "blindfold/model/json/json_string.h"
#include "blindfold/model/json/key_order.h"
#include "blindfold/model/json/number.h"

namespace blindfold {

namespace {

/// Keys, each with what it is the key of.
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

/// Writes one JSON text, with a `write` for each type that a field can have.
class JSONWriter {
 public:
  /// What has been written.
  std::string take() { return std::move(json_); }

  void write(bool value) { json_ += value ? "true" : "false"; }

  void write(std::int64_t value) { appendNumber(json_, value); }

  void write(double value) {
    if (!std::isfinite(value)) throw EncodingError("a number that is not finite has no JSON form");
    appendNumber(json_, value);
  }

  void write(const std::string& value) { appendJSONString(json_, value); }

  void write(Instant value) { appendJSONString(json_, formatISO8601(value)); }

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

  /// Adds a comma, unless what comes next is the first in its array or object.
  void separate() {
    if (json_.back() != '[' && json_.back() != '{') json_ += ',';
  }

  std::string json_;
};

}  // namespace

template <Record T>
std::string JSONEncoder::encode(const T& record) const {
  JSONWriter writer;
  writer.write(record);
  return writer.take();
}

template std::string JSONEncoder::encode(const CameraInfo&) const;
template std::string JSONEncoder::encode(const TargetService&) const;
template std::string JSONEncoder::encode(const LaunchdServiceState&) const;
template std::string JSONEncoder::encode(const DetectionResult&) const;
template std::string JSONEncoder::encode(const HoldRequest&) const;
template std::string JSONEncoder::encode(const HeldTarget&) const;
template std::string JSONEncoder::encode(const HoldState&) const;
template std::string JSONEncoder::encode(const OperationResult&) const;

JSONEncoder makeJSONEncoder() {
  return {};
}

}  // namespace blindfold
