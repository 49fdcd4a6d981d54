#pragma once

#include <string>

#include "docs/reference/record_description.h"

namespace blindfold {

/// The page about what the tool prints: a table for each record and enumeration, in Markdown.
std::string outputPage(const RecordCatalogue& catalogue);

}  // namespace blindfold
