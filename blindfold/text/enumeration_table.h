#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace blindfold {

/// The row of a table that says no more than one text about each case.
template <class Case>
struct EnumerationText {
  Case value;
  std::string_view text;
};

/// Whether row `i` is that of case `i`, for every row.
template <class Row, class Case, std::size_t rowCount>
constexpr bool isInOrderOfCases(Case Row::* caseOfRow, const Row (&rows)[rowCount]) {
  std::size_t ordinal = 0;
  return std::all_of(std::begin(rows), std::end(rows), [&](const Row& row) {
    return static_cast<std::size_t>(row.*caseOfRow) == ordinal++;
  });
}

/// A table with one row for each case of an enumeration, in the order of the cases. `Row` has a
/// member that holds the case. A table that is out of order does not compile.
///
///     constexpr EnumerationTable domainNames(&EnumerationText<ServiceDomain>::value,
///                                            {{ServiceDomain::system, "system"},
///                                             {ServiceDomain::gui, "gui"}});
template <class Row, class Case, std::size_t rowCount>
class EnumerationTable {
 public:
  consteval EnumerationTable(Case Row::* caseOfRow, const Row (&rows)[rowCount])
      : rows_(std::to_array(rows)) {
    if (!isInOrderOfCases(caseOfRow, rows)) throw "the rows are not in the order of the cases";
  }

  /// The row of `value`, which must be one of the table's cases.
  constexpr const Row& operator[](Case value) const {
    const auto index = static_cast<std::size_t>(value);
    assert(index < rowCount);
    return rows_[index];
  }

  constexpr auto begin() const { return rows_.begin(); }
  constexpr auto end() const { return rows_.end(); }
  static constexpr std::size_t size() { return rowCount; }

 private:
  std::array<Row, rowCount> rows_;
};

}  // namespace blindfold
