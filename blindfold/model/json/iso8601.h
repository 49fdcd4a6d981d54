#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "blindfold/model/record.h"

namespace blindfold {

/// The instant of a text of the form yyyy-MM-ddTHH:mm:ssZ, or with +hh:mm or -hh:mm (up to 23:59)
/// in place of the Z. `std::nullopt` when the text has another form, when there is no such day in
/// the Gregorian calendar or no such time, or when the instant's year in UTC is not one of 0000 to
/// 9999.
std::optional<Instant> parseISO8601(std::string_view text);

/// `instant`, whose year must be one of 0000 to 9999, in the form yyyy-MM-ddTHH:mm:ssZ. The
/// fraction of its second is dropped.
std::string formatISO8601(Instant instant);

}  // namespace blindfold
