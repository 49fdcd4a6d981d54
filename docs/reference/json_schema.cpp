#include "docs/reference/json_schema.h"

#include <algorithm>
#include <cassert>
#include <set>
#include <utility>
#include <variant>

namespace blindfold {
namespace {
/// A JSON value that keeps the order of its members. A text is a value as it is written.
struct Node {
  using Members = std::vector<std::pair<std::string, Node>>;
  using Elements = std::vector<Node>;

  std::variant<std::string, Members, Elements> value;
};

Node text(std::string_view content) {
  std::string quoted = "\"";
  for (const char character : content) {
    if (character == '"' || character == '\\') quoted += '\\';
    quoted += character;
  }
  return {quoted + '"'};
}

void write(const Node& node, const std::string& indent, std::string& json) {
  const std::string inner = indent + "  ";
  if (const auto* raw = std::get_if<std::string>(&node.value)) {
    json += *raw;
  } else if (const auto* members = std::get_if<Node::Members>(&node.value)) {
    std::string separator = "{\n";
    for (const auto& [key, member] : *members) {
      json.append(std::exchange(separator, ",\n")).append(inner).append("\"" + key + "\": ");
      write(member, inner, json);
    }
    json += members->empty() ? "{}" : "\n" + indent + "}";
  } else {
    std::string separator = "[";
    for (const Node& element : std::get<Node::Elements>(node.value)) {
      json += std::exchange(separator, ", ");
      write(element, inner, json);
    }
    json += "]";
  }
}

Node reference(std::string_view name) {
  return text("#/$defs/" + std::string(name));
}

/// The members of the schema of a value.
Node::Members schemaOf(const TypeDescription& type) {
  using Kind = TypeDescription::Kind;
  switch (type.kind) {
    case Kind::boolean:
      return {{"type", text("boolean")}};
    case Kind::integer:
      return {{"type", text("integer")},
              {"minimum", {"-9223372036854775808"}},
              {"maximum", {"9223372036854775807"}}};
    case Kind::number:
      return {{"type", text("number")}};
    case Kind::string:
      return {{"type", text("string")}};
    case Kind::date:
      return {{"type", text("string")},
              {"format", text("date-time")},
              {"pattern", text("^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z$")}};
    case Kind::enumeration:
    case Kind::record:
      return {{"$ref", reference(type.name)}};
    case Kind::list:
      return {{"type", text("array")}, {"items", {schemaOf(*type.element)}}};
    case Kind::map:
      return {{"type", text("object")}, {"additionalProperties", {schemaOf(*type.element)}}};
  }
  assert(false);
  return {};
}

/// The members of the schema of the record's objects.
Node::Members schemaOf(const RecordDescription& record, SchemaForm form) {
  Node::Members properties;
  Node::Elements required;
  for (const FieldDescription& field : record.fields) {
    Node::Members property{{"description", text(field.description)}};
    for (auto& member : schemaOf(field.type)) property.push_back(std::move(member));
    properties.emplace_back(field.name, Node{std::move(property)});
    if (field.presence != Presence::optional) required.push_back(text(field.name));
  }
  Node::Members schema{{"description", text(record.description)},
                       {"type", text("object")},
                       {"properties", {std::move(properties)}},
                       {"required", {std::move(required)}}};
  if (form == SchemaForm::exact) schema.emplace_back("additionalProperties", Node{"false"});
  return schema;
}

Node schemaOf(const EnumerationDescription& enumeration) {
  Node::Elements rawValues;
  for (const RawValueDescription& rawValue : enumeration.rawValues) {
    rawValues.push_back(text(rawValue.text));
  }
  return {Node::Members{{"description", text(enumeration.description)},
                        {"enum", {std::move(rawValues)}}}};
}

const RecordDescription& recordNamed(const RecordCatalogue& catalogue, std::string_view name) {
  const auto& records = catalogue.records();
  const auto record = std::find_if(records.begin(), records.end(),
                                   [&](const auto& each) { return each.name == name; });
  assert(record != records.end());
  return *record;
}

/// Inserts the names of the records and enumerations that the record's fields are made of.
void insertParts(const RecordCatalogue& catalogue, const RecordDescription& record,
                 std::set<std::string_view>& parts) {
  for (const FieldDescription& field : record.fields) {
    const TypeDescription* type = &field.type;
    while (type->element) type = type->element.get();
    if (type->name.empty() || !parts.insert(type->name).second) continue;
    if (type->kind != TypeDescription::Kind::record) continue;
    insertParts(catalogue, recordNamed(catalogue, type->name), parts);
  }
}
}  // namespace

std::string jsonSchema(const RecordCatalogue& catalogue, std::string_view name, SchemaForm form) {
  const RecordDescription& record = recordNamed(catalogue, name);
  std::set<std::string_view> parts;
  insertParts(catalogue, record, parts);
  Node::Members definitions;
  for (const RecordDescription& part : catalogue.records()) {
    if (parts.contains(part.name)) definitions.emplace_back(part.name, Node{schemaOf(part, form)});
  }
  for (const EnumerationDescription& part : catalogue.enumerations()) {
    if (parts.contains(part.name)) definitions.emplace_back(part.name, schemaOf(part));
  }

  std::string identifier = "urn:blindfold:schema:" + std::string(name);
  if (form == SchemaForm::exact) identifier += ":exact";
  Node::Members schema{{"$schema", text("https://json-schema.org/draft/2020-12/schema")},
                       {"$id", text(identifier)},
                       {"title", text(name)}};
  for (auto& member : schemaOf(record, form)) schema.push_back(std::move(member));
  if (!definitions.empty()) schema.emplace_back("$defs", Node{std::move(definitions)});

  std::string json;
  write({std::move(schema)}, "", json);
  return json + "\n";
}

}  // namespace blindfold
