#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

/// The parts that records are made of. A record is a class of public fields with a field table. A
/// field is a `bool`, a `std::int64_t`, a `double`, a `std::string`, an `Instant`, an enumeration,
/// another record, a `std::vector` of these, a `std::map` from `std::string` to one of these, or a
/// `std::optional` of any.
namespace blindfold {

/// An absolute instant, in UTC. Its JSON form has the years 0000 to 9999 and drops the fraction of
/// a second.
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

/// Whether a field's key may be absent from a JSON object.
///
/// | presence  | absent or null when decoded | encoded               |
/// |-----------|-----------------------------|-----------------------|
/// | required  | an error                    | always                |
/// | optional  | `std::nullopt`              | when it holds a value |
/// | defaulted | the member's initialiser    | always                |
enum class Presence { required, optional, defaulted };

/// One row of a record's field table.
template <class Owner, class Value>
struct Field {
  std::string_view name;  ///< Also the JSON key.
  Value Owner::* member;
  /// For the documents about the JSON form: sentences in Markdown, on one line, without vertical
  /// bars.
  std::string_view description;
  Presence presence;
};

template <class Owner, class Value>
constexpr auto requiredField(std::string_view name, Value Owner::* member,
                             std::string_view description) {
  return Field<Owner, Value>{name, member, description, Presence::required};
}

template <class Owner, class Value>
constexpr auto optionalField(std::string_view name, std::optional<Value> Owner::* member,
                             std::string_view description) {
  return Field<Owner, std::optional<Value>>{name, member, description, Presence::optional};
}

template <class Owner, class Value>
constexpr auto defaultedField(std::string_view name, Value Owner::* member,
                              std::string_view description) {
  return Field<Owner, Value>{name, member, description, Presence::defaulted};
}

/// The field table of the record `T`, from which its decoding, encoding, hashing, key order and the
/// documents about its JSON form are made: `name` and `description` are the record's; `fields` is a
/// tuple of `Field` rows in the order of the members' declaration. Specialised beside each record,
/// and for records only.
template <class T>
struct FieldTable;

template <class T>
concept Record = requires { FieldTable<T>::fields; };

template <Record T>
inline constexpr std::size_t fieldCount = std::tuple_size_v<decltype(FieldTable<T>::fields)>;

/// The names of the record's fields, in the order of its table.
template <Record T>
inline constexpr auto fieldNames = std::apply(
    [](const auto&... field) { return std::array{field.name...}; }, FieldTable<T>::fields);

/// Hashes a record by all its fields, in the order of its table.
template <Record T>
struct RecordHash {
  std::size_t operator()(const T& record) const noexcept {
    // 2^64 divided by the golden ratio, the customary constant of hash combination.
    constexpr std::size_t multiplier = 0x9e3779b97f4a7c15U;
    std::size_t seed = 0;
    const auto combine = [&](const auto& value) {
      const std::size_t hash = std::hash<std::remove_cvref_t<decltype(value)>>{}(value);
      seed ^= hash + multiplier + (seed << 6) + (seed >> 2);
    };
    std::apply([&](const auto&... field) { (combine(record.*field.member), ...); },
               FieldTable<T>::fields);
    return seed;
  }
};

namespace detail {

/// Converts to a member of any type, in an initialiser that is never evaluated.
struct AnyMember {
  template <class T>
  operator T() const;  // NOLINT(google-explicit-constructor): list initialisation converts with it.
};

template <class T, std::size_t... index>
constexpr bool isListInitializableFrom(std::index_sequence<index...>) {
  return requires { T{(static_cast<void>(index), AnyMember{})...}; };
}

constexpr std::size_t roundUp(std::size_t size, std::size_t alignment) {
  return (size + alignment - 1) / alignment * alignment;
}

/// The size of a class with these members, in this order.
template <class Owner, class... Member>
constexpr std::size_t sizeOfClassWith(const std::tuple<Field<Owner, Member>...>& /*fields*/) {
  std::size_t size = 0;
  ((size = roundUp(size, alignof(Member)) + sizeof(Member)), ...);
  return roundUp(size, std::max({alignof(Member)...}));
}

}  // namespace detail

/// Whether the record's table has a row for each of its members. An aggregate's members are
/// counted; of another class the parameters of its constructor are, and a member that has no
/// parameter is recognised by the size of the class.
template <Record T>
constexpr bool tableCoversEveryMember() {
  return detail::isListInitializableFrom<T>(std::make_index_sequence<fieldCount<T>>{}) &&
         !detail::isListInitializableFrom<T>(std::make_index_sequence<fieldCount<T> + 1>{}) &&
         detail::sizeOfClassWith(FieldTable<T>::fields) == sizeof(T);
}

}  // namespace blindfold
