#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "blindfold/model/json/encoded_names.h"
#include "blindfold/model/json/list_growth.h"
#include "blindfold/model/record.h"
#include "blindfold/text/ascii.h"

namespace blindfold {

/// Decodes a record in one pass over its text, fastest when the keys are in the encoder's order.
///
/// Accepts what `decodeCarefully` decodes, and decodes it to the same record. Everything else it
/// declines without an error that says why. Each `read` takes a value from the text and sets the
/// field, or returns false.
class SinglePassReader {
 public:
  explicit SinglePassReader(std::string_view text)
      : begin_(text.data()), position_(begin_), end_(begin_ + text.size()) {}

  /// Returns whether the whole text is the JSON form of a record, which is stored in `record`.
  template <Record T>
  bool readDocument(T& record) {
    skipWhiteSpace();
    if (!read(record)) return false;
    skipWhiteSpace();
    return position_ == end_;
  }

 private:
  bool read(bool& result);
  bool read(std::int64_t& result);
  bool read(double& result);
  bool read(std::string& result);
  bool read(Instant& result);

  template <Enumeration E>
  bool read(E& result) {
    const auto readPlain = [&]<std::size_t... ordinal>(std::index_sequence<ordinal...>) {
      return (readIfNext<ordinal>(result) || ...);
    };
    constexpr std::size_t caseCount = EnumerationCoding<E>::rawValues.size();
    return readPlain(std::make_index_sequence<caseCount>{}) || readWithEscapes(result);
  }

  /// Reads the case `ordinal` if it is next and its raw value has no escape sequences.
  template <std::size_t ordinal, Enumeration E>
  bool readIfNext(E& result) {
    if (!takeEncoded(encodedRawValue<E, ordinal>)) return false;
    result = static_cast<E>(ordinal);
    return true;
  }

  template <Enumeration E>
  bool readWithEscapes(E& result) {
    std::string storage;
    std::string_view text;
    if (!takeText(text, storage)) return false;
    const auto found = fromRawValue<E>(text);
    if (!found) return false;
    result = *found;
    return true;
  }

  template <class T>
  bool read(std::optional<T>& result) {
    return read(result.emplace());
  }

  template <class T>
  bool read(std::vector<T>& result) {
    if (!open('[')) return false;
    if (close(']')) return true;
    do {
      skipWhiteSpace();
      reserveForOneMore(result, rest().size());
      if (!read(result.emplace_back())) return false;
      skipWhiteSpace();
    } while (take(','));
    releaseExcess(result);
    return close(']');
  }

  template <class T>
  bool read(std::map<std::string, T>& result) {
    if (!open('{')) return false;
    if (close('}')) return true;
    do {
      std::string key;
      skipWhiteSpace();
      if (!read(key) || !takeColon()) return false;
      const auto [entry, isNew] = result.try_emplace(std::move(key));
      if (!(isNew ? read(entry->second) : skipValue())) return false;
      skipWhiteSpace();
    } while (take(','));
    return close('}');
  }

  template <Record T>
  bool read(T& result) {
    static_assert(fieldCount<T> <= 64);
    if (!open('{')) return false;
    std::uint64_t found = 0;
    bool isClosed = close('}');
    const auto readInKeyOrder = [&]<std::size_t... index>(std::index_sequence<index...>) {
      return (readIfNext<T, rowsInKeyOrder<T>[index]>(result, found, isClosed) && ...);
    };
    if (!readInKeyOrder(std::make_index_sequence<fieldCount<T>>{})) return false;
    while (!isClosed) {
      if (!readAnyMember(result, found, isClosed)) return false;
    }
    return (found & requiredFields<T>) == requiredFields<T>;
  }

  /// Reads the next member if its key is that of row `row` and has no escape sequences.
  template <Record T, std::size_t row>
  bool readIfNext(T& result, std::uint64_t& found, bool& isClosed) {
    if (isClosed || !takeEncoded(encodedKey<T, row>)) return true;
    skipWhiteSpace();
    return readField<row>(result, found) && endMember(isClosed);
  }

  template <Record T>
  bool readAnyMember(T& result, std::uint64_t& found, bool& isClosed) {
    std::string storage;
    std::string_view key;
    if (!takeText(key, storage) || !takeColon()) return false;
    const auto name = std::find(fieldNames<T>.begin(), fieldNames<T>.end(), key);
    const auto rowOfKey = static_cast<std::size_t>(name - fieldNames<T>.begin());
    bool isRead = false;
    if (rowOfKey == fieldCount<T> || (found >> rowOfKey & 1U) != 0) {
      isRead = skipValue();
    } else {
      const auto readIfNamed = [&]<std::size_t row>() {
        if (rowOfKey == row) isRead = readField<row>(result, found);
      };
      const auto readNamed = [&]<std::size_t... row>(std::index_sequence<row...>) {
        (readIfNamed.template operator()<row>(), ...);
      };
      readNamed(std::make_index_sequence<fieldCount<T>>{});
    }
    return isRead && endMember(isClosed);
  }

  /// Reads the value of row `row`, which has not been found before.
  template <std::size_t row, Record T>
  bool readField(T& result, std::uint64_t& found) {
    constexpr auto& field = std::get<row>(FieldTable<T>::fields);
    found |= std::uint64_t{1} << row;
    if constexpr (field.presence != Presence::required) {
      if (peek() == 'n') return takeLiteral("null");
    }
    return read(result.*field.member);
  }

  template <Record T>
  static constexpr std::uint64_t requiredFields = [] {
    std::uint64_t fields = 0;
    std::uint64_t bit = 1;
    const auto add = [&](const auto& field) {
      if (field.presence == Presence::required) fields |= bit;
      bit <<= 1U;
    };
    std::apply([&](const auto&... field) { (add(field), ...); }, FieldTable<T>::fields);
    return fields;
  }();

  std::string_view rest() const { return {position_, static_cast<std::size_t>(end_ - position_)}; }

  /// The next byte; at the end of the text NUL, which JSON allows nowhere.
  char peek() const { return position_ == end_ ? '\0' : *position_; }

  bool take(char character) {
    if (peek() != character) return false;
    ++position_;
    return true;
  }

  /// Takes `text` if it is next. Its size is a constant, so comparing takes a few instructions.
  template <std::size_t size>
  bool takeEncoded(const std::array<char, size>& text) {
    if (rest().size() < size || std::memcmp(position_, text.data(), size) != 0) return false;
    position_ += size;
    return true;
  }

  bool takeLiteral(std::string_view literal) {
    if (!rest().starts_with(literal)) return false;
    position_ += literal.size();
    return true;
  }

  bool takeColon() {
    skipWhiteSpace();
    if (!take(':')) return false;
    skipWhiteSpace();
    return true;
  }

  void skipWhiteSpace() {
    while (isWhiteSpace(peek())) ++position_;
  }

  /// Takes the opening bracket of an array or object.
  bool open(char bracket) {
    if (!take(bracket)) return false;
    ++depth_;
    return true;
  }

  /// Takes the closing bracket of the innermost array or object, if it is next.
  bool close(char bracket) {
    skipWhiteSpace();
    if (!take(bracket)) return false;
    --depth_;
    return true;
  }

  /// Takes the comma or closing bracket after a member.
  bool endMember(bool& isClosed) {
    skipWhiteSpace();
    isClosed = take('}');
    if (isClosed) --depth_;
    if (isClosed || !take(',')) return isClosed;
    skipWhiteSpace();
    return true;
  }

  /// Takes a string. Stores its value in `text`; `storage` holds it when it has escape sequences.
  bool takeText(std::string_view& text, std::string& storage);

  /// Takes the part of a string after its opening quotation mark, like `takeText`.
  bool takeSpecialText(std::string_view& text, std::string& storage);

  /// Takes an integer of at most 18 digits without fraction and exponent.
  bool takeShortInteger(std::int64_t& result);

  /// Takes a number. Stores its text in `text`.
  bool takeNumber(std::string_view& text);

  /// Takes a value of any type.
  bool skipValue();

  const char* begin_;
  const char* position_;
  const char* end_;
  std::size_t depth_ = 0;  ///< The number of open arrays and objects.
};

/// The record whose JSON form is `bytes`, or `std::nullopt` when they are not of this form.
template <Record T>
std::optional<T> decodeInOnePass(std::string_view bytes) {
  std::optional<T> record(std::in_place);
  if (!SinglePassReader(bytes).readDocument(*record)) return std::nullopt;
  return record;
}

}  // namespace blindfold
