#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include "blindfold/authorization/authorization_decision.h"
#include "tests/authorization/fake_client.h"

namespace blindfold {
namespace {
using Text = std::optional<std::string>;
using Outcome = std::variant<ClientAuthorizationMode, ClientAuthorizationFailure>;
using enum ClientAuthorizationMode;
using enum ClientAuthorizationFailure;

// Every value that the decision could treat in a way of its own. `listed` and `unlisted` refer to
// the default list of identifiers.

const std::array<Text, 4> teams{std::nullopt, "", "T1", "T2"};

enum class Identifier { absent, empty, listed, otherListed, unlisted, executableName };
constexpr std::array signingIdentifiers{Identifier::absent,   Identifier::empty,
                                        Identifier::listed,   Identifier::otherListed,
                                        Identifier::unlisted, Identifier::executableName};
constexpr std::array bundleIdentifiers{Identifier::absent, Identifier::empty, Identifier::listed,
                                       Identifier::otherListed, Identifier::unlisted};

enum class Path {
  absent,
  empty,
  app,
  tool,
  server,
  wrongSuffix,
  wrongSuffixInNoApplication,
  noApplication
};
constexpr std::array paths{Path::absent,
                           Path::empty,
                           Path::app,
                           Path::tool,
                           Path::server,
                           Path::wrongSuffix,
                           Path::wrongSuffixInNoApplication,
                           Path::noApplication};

struct Situation {
  Text helperTeam;
  Text clientTeam;
  Identifier signing;
  Identifier bundle;
  Path path;
  bool secure;
};

// The client in this situation, in the words of the rules.

bool isListed(Identifier identifier) {
  return identifier == Identifier::listed || identifier == Identifier::otherListed;
}

bool isMissing(Identifier identifier) {
  return identifier == Identifier::absent || identifier == Identifier::empty;
}

bool hasPath(const Situation& s) {
  return s.path != Path::absent && s.path != Path::empty;
}

bool hasAuthorizedPath(const Situation& s) {
  return s.path == Path::app || s.path == Path::tool || s.path == Path::server ||
         s.path == Path::noApplication;
}

bool bothTeamsAreKnown(const Situation& s) {
  return s.helperTeam && s.clientTeam;
}

bool teamsDiffer(const Situation& s) {
  return bothTeamsAreKnown(s) && s.helperTeam != s.clientTeam;
}

/// The path is right, and the signature neither accepts nor refuses.
bool dependsOnBundle(const Situation& s) {
  return hasAuthorizedPath(s) && !bothTeamsAreKnown(s) && !isListed(s.signing);
}

bool isInApplication(const Situation& s) {
  return s.path != Path::noApplication;
}

bool signatureFitsExecutable(const Situation& s) {
  return isMissing(s.signing) || s.signing == Identifier::executableName;
}

bool bundleIsAuthorized(const Situation& s) {
  return dependsOnBundle(s) && isInApplication(s) && signatureFitsExecutable(s) &&
         isListed(s.bundle);
}

/// One complete condition per outcome: together they leave no situation out, and no two of them
/// hold at once, so their order says nothing.
struct Rule {
  Outcome outcome;
  bool (*holds)(const Situation&);
};

const std::array rules{
    Rule{missingExecutablePath, [](const Situation& s) { return !hasPath(s); }},
    Rule{executablePathMismatch,
         [](const Situation& s) { return hasPath(s) && !hasAuthorizedPath(s); }},
    Rule{helperRequiresSignedClient, [](const Situation&) { return false; }},
    Rule{teamIdentifierMismatch,
         [](const Situation& s) { return hasAuthorizedPath(s) && teamsDiffer(s); }},
    Rule{signingIdentity,
         [](const Situation& s) {
           return hasAuthorizedPath(s) && isListed(s.signing) && !teamsDiffer(s);
         }},
    Rule{signingIdentifierMismatch,
         [](const Situation& s) {
           const bool ofHelpersTeam = bothTeamsAreKnown(s) && !teamsDiffer(s);
           return (hasAuthorizedPath(s) && ofHelpersTeam && !isListed(s.signing)) ||
                  (dependsOnBundle(s) && isInApplication(s) && !signatureFitsExecutable(s));
         }},
    Rule{missingBundleIdentifier,
         [](const Situation& s) {
           return dependsOnBundle(s) &&
                  (!isInApplication(s) || (signatureFitsExecutable(s) && isMissing(s.bundle)));
         }},
    Rule{bundleIdentifierMismatch,
         [](const Situation& s) {
           return dependsOnBundle(s) && isInApplication(s) && signatureFitsExecutable(s) &&
                  s.bundle == Identifier::unlisted;
         }},
    Rule{insecureExecutablePath,
         [](const Situation& s) { return bundleIsAuthorized(s) && !s.secure; }},
    Rule{adHocBundleIdentity, [](const Situation& s) { return bundleIsAuthorized(s) && s.secure; }},
};

std::vector<Outcome> outcomesByTheRules(const Situation& situation) {
  std::vector<Outcome> outcomes;
  for (const auto& rule : rules) {
    if (rule.holds(situation)) outcomes.push_back(rule.outcome);
  }
  return outcomes;
}

// The same situation, as the decision meets it.

std::string executableName(Path path) {
  if (path == Path::tool) return "blindfoldctl";
  return path == Path::server ? "orbit-mcp" : "Blindfold";
}

Text textOf(Identifier identifier, Path path) {
  switch (identifier) {
    case Identifier::absent:
      return std::nullopt;
    case Identifier::empty:
      return "";
    case Identifier::listed:
      return "app.blindfold.mac";
    case Identifier::otherListed:
      return "app.blindfold.orbit";
    case Identifier::unlisted:
      return "app.blindfold.cli";
    case Identifier::executableName:
      return executableName(path);
  }
  return std::nullopt;
}

void place(FakeClient& client, Path path) {
  switch (path) {
    case Path::absent:
      client.identity.executablePath.reset();
      return;
    case Path::empty:
      client.identity.executablePath = "";
      return;
    case Path::app:
    case Path::server:
      client.place("/X.app", "/Contents/MacOS", "/" + executableName(path));
      return;
    case Path::tool:
      client.place("/X.app", "/Contents/Resources", "/" + executableName(path));
      return;
    case Path::wrongSuffix:
      client.place("/X.app", "/Contents/MacOS", "/Other");
      return;
    case Path::wrongSuffixInNoApplication:
      client.place("/X", "/Contents/MacOS", "/Other");
      return;
    case Path::noApplication:
      client.place("/X", "/Contents/MacOS", "/Blindfold");
      return;
  }
}

ClientAuthorizationAssessment expectedAssessment(const ClientExecutionIdentity& identity,
                                                 const Outcome& outcome) {
  if (const auto* const mode = std::get_if<ClientAuthorizationMode>(&outcome)) {
    return {.identity = identity, .mode = *mode, .failure = std::nullopt};
  }
  return {.identity = identity,
          .mode = std::nullopt,
          .failure = std::get<ClientAuthorizationFailure>(outcome)};
}

std::ostream& operator<<(std::ostream& stream, const Situation& s) {
  return stream << "helper's team " << s.helperTeam.value_or("absent") << ", client's team "
                << s.clientTeam.value_or("absent") << ", signing identifier "
                << textOf(s.signing, s.path).value_or("absent") << ", bundle identifier "
                << textOf(s.bundle, s.path).value_or("absent") << ", path "
                << static_cast<int>(s.path) << (s.secure ? ", secure" : ", insecure");
}

void check(const Situation& situation) {
  FakeClient client;
  place(client, situation.path);
  client.expectedTeamIdentifier = situation.helperTeam;
  client.identity.teamIdentifier = situation.clientTeam;
  client.identity.signingIdentifier = textOf(situation.signing, situation.path);
  client.identity.bundleIdentifier = textOf(situation.bundle, situation.path);
  if (!situation.secure) {
    for (auto& [path, attributes] : client.files.attributesByPath) {
      attributes.posixPermissions = 0775;
    }
  }

  const auto outcomes = outcomesByTheRules(situation);
  ASSERT_EQ(outcomes.size(), 1U) << situation;
  EXPECT_EQ(client.assess(), expectedAssessment(client.identity, outcomes.front())) << situation;
}

TEST(ClientAuthorizationExhaustiveTest, EverySituationEndsAsTheRulesSay) {
  for (const auto& helperTeam : teams) {
    for (const auto& clientTeam : teams) {
      for (const auto signing : signingIdentifiers) {
        for (const auto bundle : bundleIdentifiers) {
          for (const auto path : paths) {
            for (const bool secure : {true, false}) {
              check({helperTeam, clientTeam, signing, bundle, path, secure});
            }
          }
        }
      }
    }
  }
}
}  // namespace
}  // namespace blindfold
