#pragma once

#include <cstddef>
#include <functional>
#include <tuple>

#include "blindfold/model/record.h"

namespace blindfold {

/// Hashes a record by all its fields, in the order of their declaration.
template <Record T>
struct RecordHash {
  std::size_t operator()(const T& record) const noexcept {
    std::size_t seed = 0;
    const auto feed = [&](const auto& value) {
      const std::size_t hash = std::hash<std::remove_cvref_t<decltype(value)>>{}(value);
      seed ^= hash + goldenRatio + (seed << 6) + (seed >> 2);
    };
    std::apply([&](const auto&... field) { (feed(record.*field.member), ...); },
               FieldTable<T>::fields);
    return seed;
  }

 private:
  /// The usual odd constant that keeps equal neighbours from cancelling each other out.
  static constexpr std::size_t goldenRatio = 0x9e3779b97f4a7c15U;
};

}  // namespace blindfold
