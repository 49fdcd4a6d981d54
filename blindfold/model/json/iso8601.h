#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "blindfold/model/instant.h"

namespace blindfold {

/// The instant that `text` names in the form yyyy-MM-ddTHH:mm:ssZ, or with +hh:mm or -hh:mm (up to
/// 23:59) for the Z; nothing when it has another form, names no day of the Gregorian calendar or no
/// time of the day, or when the instant's year in UTC is not one of 0000 to 9999.
std::optional<Instant> parseISO8601(std::string_view text);

/// `instant` in the form yyyy-MM-ddTHH:mm:ssZ, the fraction of its second dropped. A year beyond
/// 9999 takes as many digits as it needs, one before 0000 a minus as well.
std::string formatISO8601(Instant instant);

}  // namespace blindfold
