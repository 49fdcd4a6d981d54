#pragma once

#include <string>

#include "blindfold/model/json/json_value.h"

namespace blindfold {

/// The string as it is spelled in its JSON text, quotation marks included, made one line and cut:
/// to be shown in a text for people.
std::string excerpt(const JSONString& string);

/// The same for any value.
std::string excerpt(const JSONValue& value);

}  // namespace blindfold
