#include "docs/reference/output_page.h"

#include <cassert>
#include <string_view>

namespace blindfold {
namespace {
constexpr std::string_view introduction = R"(# Output

This page and the JSON Schemas are written by `scripts/write-reference` from the tables that the tool encodes and decodes by.

| command | prints |
|---|---|
| `status` | a [`HoldState`](#holdstate) |
| `detect` | a [`DetectionResult`](#detectionresult) |
| `hold-built-in`, `release`, `restore`, `renew`, `mute`, `unmute` | an [`OperationResult`](#operationresult) |

A result is one line on standard output: a JSON object (RFC 8259) in UTF-8, without spaces between its parts, and a line break. A failure prints nothing there. Equal results are equal bytes:

- **Keys** are sorted, in every object.
- **A field without a value** is left out. Nothing is written as `null`.
- **A field that this page does not name** may appear in a later release. A field that it names keeps its name and type.
- **Strings** escape quotation marks, backslashes, slashes (as `\/`) and control characters; all else stands as it is. A label, an identifier or a name can hold any text.
- **Integers** are signed, of 64 bits, without fraction or exponent. A reader that keeps numbers as floating point has them exactly up to 2^53.
- **Numbers** are the shortest decimals that read back as the same value.
- **Dates** are UTC in whole seconds, in the one form `2025-03-04T10:15:30Z` (ISO 8601).
- **Lists** keep the helper's order.

The helper decides what stands in a field whose type is a string: the tool passes its words on. Where this page names such words, they are examples, and a program should expect others.
)";

constexpr std::string_view schemas = R"(
## Schemas

`share/blindfold/schemas` has a JSON Schema (draft 2020-12) for each result and for `HoldRequest`, in two forms:

| file | additional fields | for |
|---|---|---|
| `HoldState.json` | allowed | checking what the tool prints, in this release and later ones |
| `HoldState.exact.json` | refused | checking what a script expects, where a misspelled field is an error |

With Debian's python3-jsonschema:

```sh
blindfoldctl status >state.json
jsonschema --instance state.json share/blindfold/schemas/HoldState.json
```
)";

std::string link(std::string_view name) {
  std::string anchor;
  for (const char letter : name) {
    anchor += letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  }
  return "[`" + std::string(name) + "`](#" + anchor + ")";
}

std::string nameOf(const TypeDescription& type) {
  using Kind = TypeDescription::Kind;
  switch (type.kind) {
    case Kind::boolean:
      return "boolean";
    case Kind::integer:
      return "integer";
    case Kind::number:
      return "number";
    case Kind::string:
      return "string";
    case Kind::date:
      return "date";
    case Kind::enumeration:
    case Kind::record:
      return link(type.name);
    case Kind::list:
      return "list of " + nameOf(*type.element);
    case Kind::map:
      return "object of " + nameOf(*type.element);
  }
  assert(false);
  return {};
}

std::string_view whenWritten(Presence presence) {
  switch (presence) {
    case Presence::required:
      return "always";
    case Presence::optional:
      return "when it has a value";
    case Presence::defaulted:
      return "always; has a default when read";
  }
  assert(false);
  return {};
}

template <class... Text>
std::string row(const Text&... cell) {
  std::string line = "|";
  ((line += " " + std::string(cell) + " |"), ...);
  return line + "\n";
}

std::string code(std::string_view text) {
  return "`" + std::string(text) + "`";
}

template <class Description>
std::string heading(const Description& described) {
  return "\n## " + std::string(described.name) + "\n\n" + std::string(described.description) +
         "\n\n";
}

std::string section(const RecordDescription& record) {
  std::string text = heading(record);
  text += row("field", "type", "written", "meaning") + "|---|---|---|---|\n";
  for (const FieldDescription& field : record.fields) {
    text +=
        row(code(field.name), nameOf(field.type), whenWritten(field.presence), field.description);
  }
  return text;
}

std::string section(const EnumerationDescription& enumeration) {
  std::string text = heading(enumeration);
  text += row("value", "meaning") + "|---|---|\n";
  for (const RawValueDescription& rawValue : enumeration.rawValues) {
    text += row(code(rawValue.text), rawValue.description);
  }
  return text;
}
}  // namespace

std::string outputPage(const RecordCatalogue& catalogue) {
  std::string page(introduction);
  for (const RecordDescription& record : catalogue.records()) page += section(record);
  for (const EnumerationDescription& enumeration : catalogue.enumerations()) {
    page += section(enumeration);
  }
  return page + std::string(schemas);
}

}  // namespace blindfold
