#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "blindfold/model/record.h"

/// The capacity of a list while it is decoded. A list that grew by doubling would be in memory
/// twice whenever it grows, up to the triple of its size.
namespace blindfold {

/// A lower bound of the length of the JSON text of a `T`.
template <class T>
constexpr std::size_t minimumLength() {
  if constexpr (Record<T>) {
    const auto lengthOfMember = []<class Value>(const Field<T, Value>& field) -> std::size_t {
      constexpr std::size_t punctuation = 4;  // two quotation marks, a colon, a comma or bracket
      if (field.presence != Presence::required) return 0;
      return field.name.size() + punctuation + minimumLength<Value>();
    };
    return std::apply([&](const auto&... field) { return (1 + ... + lengthOfMember(field)); },
                      FieldTable<T>::fields);
  }
  constexpr bool isString = std::is_same_v<T, std::string> || Enumeration<T>;
  return isString ? 2 : 1;
}

/// Makes room for one more element in `list`, of whose text at most `rest` bytes are left.
///
/// A long list gets room for all the elements that can follow, and does not grow again. The room
/// that they do not fill takes no memory where the system provides memory on first use.
template <class T>
void reserveForOneMore(std::vector<T>& list, std::size_t rest) {
  constexpr std::size_t firstCapacity = 4;
  constexpr std::size_t longList = 1024;
  if (list.size() < list.capacity()) return;
  const std::size_t growth = list.size() < longList ? std::max(firstCapacity, list.size())
                                                    : 1 + rest / (minimumLength<T>() + 1);
  list.reserve(list.size() + growth);
}

/// Releases the room of a complete list that is for the most part unused.
template <class T>
void releaseExcess(std::vector<T>& list) {
  constexpr std::size_t smallCapacity = 1024;
  if (list.capacity() > std::max(smallCapacity, 2 * list.size())) list.shrink_to_fit();
}

}  // namespace blindfold
