#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "blindfold/model/json/key_order.h"
#include "blindfold/model/record.h"

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
consteval auto makeRowsInKeyOrder() {
  KeyedEntries<std::size_t> fields;
  for (const std::string_view name : fieldNames<T>) fields.emplace_back(name, fields.size());
  sortByKey(fields);
  std::array<std::size_t, fieldCount<T>> rows{};
  std::transform(fields.begin(), fields.end(), rows.begin(),
                 [](const auto& field) { return field.second; });
  return rows;
}

template <Record T>
inline constexpr auto rowsInKeyOrder = makeRowsInKeyOrder<T>();

/// `text`, which needs no escape sequences, in quotation marks and followed by `suffix`.
template <std::size_t size>
consteval std::array<char, size> quote(std::string_view text, std::string_view suffix) {
  std::array<char, size> quoted{};
  auto end = quoted.begin();
  *end++ = '"';
  end = std::copy(text.begin(), text.end(), end);
  *end++ = '"';
  std::copy(suffix.begin(), suffix.end(), end);
  return quoted;
}

/// The key of row `row` of the record's field table as it is encoded, with its colon.
template <Record T, std::size_t row>
inline constexpr auto encodedKey = quote<fieldNames<T>[row].size() + 3>(fieldNames<T>[row], ":");

/// The raw value of case `ordinal` of an enumeration as it is encoded.
template <Enumeration E, std::size_t ordinal>
inline constexpr auto encodedRawValue =
    quote<rawValue(static_cast<E>(ordinal)).size() + 2>(rawValue(static_cast<E>(ordinal)), "");

}  // namespace blindfold
