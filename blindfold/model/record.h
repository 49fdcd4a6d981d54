#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace blindfold {

/// What JSON must say about a field.
///
/// | presence  | absent or null when read | written                  |
/// |-----------|--------------------------|--------------------------|
/// | required  | an error                 | always                   |
/// | optional  | no value                 | when it holds a value    |
/// | defaulted | the member's initialiser | always                   |
enum class Presence { required, optional, defaulted };

/// One row of a record's field table: the member, and its name, which is also its JSON key.
template <class Owner, class Value>
struct Field {
  std::string_view name;
  Value Owner::* member;
  Presence presence;
};

template <class Owner, class Value>
constexpr auto required(std::string_view name, Value Owner::* member) {
  return Field<Owner, Value>{name, member, Presence::required};
}

template <class Owner, class Value>
constexpr auto optional(std::string_view name, std::optional<Value> Owner::* member) {
  return Field<Owner, std::optional<Value>>{name, member, Presence::optional};
}

template <class Owner, class Value>
constexpr auto defaulted(std::string_view name, Value Owner::* member) {
  return Field<Owner, Value>{name, member, Presence::defaulted};
}

/// A record's field table: the one place, beside its members, that lists its fields. It is what
/// decoding, encoding, hashing and key order are made of. `fields` is a tuple of `Field` rows in
/// the order of the members' declaration. Defined beside each record, for records only.
template <class T>
struct FieldTable;

template <class T>
concept Record = std::is_aggregate_v<T> && requires { FieldTable<T>::fields; };

template <Record T>
inline constexpr std::size_t fieldCount = std::tuple_size_v<decltype(FieldTable<T>::fields)>;

/// The names of the record's fields, in the order of its table.
template <Record T>
inline constexpr auto fieldNames = std::apply(
    [](const auto&... field) { return std::array{field.name...}; }, FieldTable<T>::fields);

namespace detail {

/// Stands for a member of any type in an initialiser that is never evaluated.
struct AnyMember {
  template <class T>
  operator T() const;  // NOLINT(google-explicit-constructor): it converts so that braces accept it.
};

template <class T, std::size_t... index>
constexpr bool isMadeOf(std::index_sequence<index...>) {
  return requires { T{(static_cast<void>(index), AnyMember{})...}; };
}

}  // namespace detail

/// Whether the record has as many members as its table has rows.
template <Record T>
constexpr bool tableCoversEveryMember() {
  return detail::isMadeOf<T>(std::make_index_sequence<fieldCount<T>>{}) &&
         !detail::isMadeOf<T>(std::make_index_sequence<fieldCount<T> + 1>{});
}

}  // namespace blindfold
