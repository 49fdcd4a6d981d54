#include "blindfold/authorization/client_execution_identity.h"

#include <utility>

#include "blindfold/authorization/code_signing_identifiers.h"

namespace blindfold {
namespace {

CodeSigningIdentifiers ownIdentifiers(const CodeSigning& codeSigning) {
  const auto code = codeSigning.copySelf();
  if (code == nullptr) return {};
  const auto staticCode = code->copyStaticCode();
  if (staticCode == nullptr) return {};
  return codeSigningIdentifiers(*staticCode);
}

}  // namespace

ClientExecutionIdentity currentClientExecutionIdentity(const Bundle& bundle,
                                                       const CodeSigning& codeSigning) {
  auto [signingIdentifier, teamIdentifier] = ownIdentifiers(codeSigning);
  const auto executableURL = bundle.executableURL();
  return {
      .signingIdentifier = std::move(signingIdentifier),
      .teamIdentifier = std::move(teamIdentifier),
      .bundleIdentifier = bundle.bundleIdentifier(),
      .executablePath = executableURL ? std::optional(executableURL->path()) : std::nullopt,
  };
}

}  // namespace blindfold
