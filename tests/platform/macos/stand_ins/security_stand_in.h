#pragma once

#include <optional>
#include <string>

namespace blindfold {

/// The answers of the Security framework's stand-in, and the calls that it received.
struct SecurityStandIn {
  enum class Function { self, staticCode, path, information };
  enum class Value { missing, text, number };

  static SecurityStandIn& shared();

  /// Makes the settings below the ones of a program signed by a team, and forgets what was seen.
  void reset();

  bool hasSelf = true;
  bool hasStaticCode = true;
  bool hasInformation = true;
  /// The function that reports success but hands out nothing, if any.
  std::optional<Function> emptyHanded;
  Value identifier = Value::text;
  Value teamIdentifier = Value::text;
  std::string identifierText;
  std::string teamIdentifierText;

  /// The path of the last static code made from a path.
  std::optional<std::string> staticCodePath;
  /// The flags of the last call of each function.
  std::optional<unsigned> selfFlags;
  std::optional<unsigned> staticCodeFlags;
  std::optional<unsigned> pathFlags;
  std::optional<unsigned> informationFlags;

  /// How many objects the functions have handed out and not got back.
  static int liveObjects();
};

}  // namespace blindfold
