#pragma once

#include <string>
#include <string_view>

#include "docs/reference/record_description.h"

namespace blindfold {

/// Whether a schema allows fields that are not in the tables.
enum class SchemaForm {
  open,   ///< It does: those of later releases.
  exact,  ///< It does not: a misspelled field is an error.
};

/// The JSON Schema (draft 2020-12) of what is written for the record named `name`, which must be in
/// the catalogue: UTF-8, indented, ending with a line break. A field without a value is absent; one
/// that is optional may be.
std::string jsonSchema(const RecordCatalogue& catalogue, std::string_view name, SchemaForm form);

}  // namespace blindfold
