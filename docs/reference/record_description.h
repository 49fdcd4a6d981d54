#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "blindfold/model/record.h"

/// The records' field tables as values, from which the documents about them are written.
namespace blindfold {

/// The type of a field, in the terms of its JSON form.
struct TypeDescription {
  enum class Kind { boolean, integer, number, string, date, enumeration, record, list, map };

  Kind kind;
  /// Of the enumeration or record; empty for other kinds.
  std::string_view name = {};
  /// Of the list's or map's elements; null for other kinds.
  std::shared_ptr<const TypeDescription> element = nullptr;
};

struct FieldDescription {
  std::string_view name;
  std::string_view description;
  Presence presence;
  TypeDescription type;
};

struct RecordDescription {
  std::string_view name;
  std::string_view description;
  /// In the order of the field table.
  std::vector<FieldDescription> fields;
};

struct RawValueDescription {
  std::string_view text;
  std::string_view description;
};

struct EnumerationDescription {
  std::string_view name;
  std::string_view description;
  std::vector<RawValueDescription> rawValues;
};

/// Records and all that their fields are made of.
class RecordCatalogue {
 public:
  /// Adds the record `T` and, after it, the records and enumerations of its fields. Does nothing
  /// for a record that is there.
  template <Record T>
  void add();

  const std::vector<RecordDescription>& records() const { return records_; }
  const std::vector<EnumerationDescription>& enumerations() const { return enumerations_; }

 private:
  template <Enumeration E>
  void add();

  /// The description of `T`, whose parts are added.
  template <class T>
  TypeDescription type();

  template <class T>
  TypeDescription typeOfElements(TypeDescription::Kind kind) {
    return {kind, {}, std::make_shared<const TypeDescription>(type<T>())};
  }

  std::vector<RecordDescription> records_;
  std::vector<EnumerationDescription> enumerations_;
};

namespace detail {

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool isList = false;
template <class T>
inline constexpr bool isList<std::vector<T>> = true;

template <class T>
inline constexpr bool isMap = false;
template <class T>
inline constexpr bool isMap<std::map<std::string, T>> = true;

template <class Description>
bool contains(const std::vector<Description>& all, std::string_view name) {
  return std::any_of(all.begin(), all.end(), [&](const auto& each) { return each.name == name; });
}

}  // namespace detail

template <Record T>
void RecordCatalogue::add() {
  if (detail::contains(records_, FieldTable<T>::name)) return;
  const std::size_t index = records_.size();
  records_.push_back({FieldTable<T>::name, FieldTable<T>::description, {}});
  const auto describe = [&]<class Owner, class Value>(const Field<Owner, Value>& field) {
    return FieldDescription{field.name, field.description, field.presence, type<Value>()};
  };
  // The parts of the fields are added meanwhile, so the record is found anew by its index.
  records_[index].fields = std::apply(
      [&](const auto&... field) { return std::vector{describe(field)...}; }, FieldTable<T>::fields);
}

template <Enumeration E>
void RecordCatalogue::add() {
  using Coding = EnumerationCoding<E>;
  if (detail::contains(enumerations_, Coding::name)) return;
  EnumerationDescription& enumeration =
      enumerations_.emplace_back(Coding::name, Coding::description);
  for (const auto& row : Coding::rawValues) {
    enumeration.rawValues.push_back({row.text, row.description});
  }
}

template <class T>
TypeDescription RecordCatalogue::type() {
  using Kind = TypeDescription::Kind;
  if constexpr (detail::isOptional<T>) {
    return type<typename T::value_type>();
  } else if constexpr (detail::isList<T>) {
    return typeOfElements<typename T::value_type>(Kind::list);
  } else if constexpr (detail::isMap<T>) {
    return typeOfElements<typename T::mapped_type>(Kind::map);
  } else if constexpr (Record<T>) {
    add<T>();
    return {Kind::record, FieldTable<T>::name};
  } else if constexpr (Enumeration<T>) {
    add<T>();
    return {Kind::enumeration, EnumerationCoding<T>::name};
  } else if constexpr (std::same_as<T, bool>) {
    return {Kind::boolean};
  } else if constexpr (std::same_as<T, std::int64_t>) {
    return {Kind::integer};
  } else if constexpr (std::same_as<T, double>) {
    return {Kind::number};
  } else if constexpr (std::same_as<T, Instant>) {
    return {Kind::date};
  } else {
    static_assert(std::same_as<T, std::string>);
    return {Kind::string};
  }
}

}  // namespace blindfold
