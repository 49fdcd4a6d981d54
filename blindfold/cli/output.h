#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "blindfold/model/json/json_encoder.h"

namespace blindfold {

/// From now on, memory that runs out ends the process with status 1 and one line on standard error,
/// wherever it happens; it takes no memory to say so. For the program: it replaces the new-handler
/// of the process.
void reportExhaustedMemory();

/// Writes `line` and a newline to standard output, and closes it. A line that is not UTF-8 is
/// written as an empty one. Throws `std::system_error` when not everything could be written.
void printLine(std::string line);

/// Writes `text` to standard error, in one piece where that takes it so. Needs no memory.
void writeError(std::string_view text) noexcept;

/// Prints the record as one line of compact JSON; see `printLine`. Throws the encoder's error,
/// having written nothing, or `std::system_error` when the line could not be written.
template <class Record>
void printJSON(const Record& record) {
  printLine(makeJSONEncoder().encode(record));
}

/// Writes the error's description (its `what()`), as one line, and a newline to standard error, and
/// ends the process with status 1.
[[noreturn]] void reportFailureAndExit(const std::exception_ptr& error);

}  // namespace blindfold
