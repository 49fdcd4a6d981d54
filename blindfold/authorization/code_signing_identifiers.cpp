#include "blindfold/authorization/code_signing_identifiers.h"

#include <variant>

#include "blindfold/platform/dictionary_value.h"

namespace blindfold {
namespace {

std::optional<std::string> textIn(const std::optional<DictionaryValue>& value) {
  if (!value) return std::nullopt;
  const auto* const text = std::get_if<std::string>(&*value);
  return text == nullptr ? std::nullopt : std::optional(*text);
}

}  // namespace

CodeSigningIdentifiers codeSigningIdentifiers(const StaticCode& code) {
  const auto information = code.copySigningInformation();
  if (!information) return {};
  return {.signingIdentifier = textIn(information->identifier),
          .teamIdentifier = textIn(information->teamIdentifier)};
}

}  // namespace blindfold
