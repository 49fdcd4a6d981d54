#include "blindfold/authorization/client_execution_identity.h"

#include <utility>

#include "blindfold/platform/dictionary_value.h"

namespace blindfold {
namespace {
/// A copy of the text of `value`; absent when it is absent or not text.
std::optional<std::string> textIn(const std::optional<DictionaryValue>& value) {
  const std::string* const text = textOf(value);
  return text == nullptr ? std::nullopt : std::optional(*text);
}
}  // namespace

CodeSigningIdentifiers codeSigningIdentifiers(
    const std::optional<SigningInformation>& information) {
  if (!information) return {};
  return {.signingIdentifier = textIn(information->identifier),
          .teamIdentifier = textIn(information->teamIdentifier)};
}

ClientExecutionIdentity currentClientExecutionIdentity(const Bundle& bundle,
                                                       const CodeSigning& codeSigning) {
  auto [signingIdentifier, teamIdentifier] =
      codeSigningIdentifiers(codeSigning.ownSigningInformation());
  const auto executableURL = bundle.executableURL();
  return {
      .signingIdentifier = std::move(signingIdentifier),
      .teamIdentifier = std::move(teamIdentifier),
      .bundleIdentifier = bundle.bundleIdentifier(),
      .executablePath = executableURL ? std::optional(executableURL->path()) : std::nullopt,
  };
}

}  // namespace blindfold
