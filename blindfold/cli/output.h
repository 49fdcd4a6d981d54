#pragma once

#include <exception>
#include <string_view>

#include "blindfold/model/json/json_encoder.h"

namespace blindfold {

/// Writes `line` and a newline to standard output and flushes it. A line that is not UTF-8 is
/// written as an empty one. Throws `std::system_error` when not everything could be written.
void printLine(std::string_view line);

/// Writes the record as one line of compact JSON on standard output. Throws the encoder's error,
/// having written nothing, or `std::system_error` when the line could not be written.
template <class Record>
void printJSON(const Record& record) {
  printLine(makeJSONEncoder().encode(record));
}

/// Writes the error's description (its `what()`), as one line, and a newline to standard error, and
/// ends the process with status 1.
[[noreturn]] void reportFailureAndExit(const std::exception_ptr& error);

}  // namespace blindfold
