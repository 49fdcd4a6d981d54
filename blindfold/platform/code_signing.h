#pragma once

#include <optional>

#include "blindfold/platform/dictionary_value.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// The two values of a code signature's information that this program reads, unchanged: absent when
/// the key is missing, of any type when it is there.
struct SigningInformation {
  std::optional<DictionaryValue> identifier;
  std::optional<DictionaryValue> teamIdentifier;

  bool operator==(const SigningInformation&) const = default;
};

/// Code signatures. Any thread may call. Nothing throws and nothing is cached: every call reads the
/// signature anew and releases the platform's objects before it returns.
class CodeSigning {
 public:
  CodeSigning() = default;
  CodeSigning(const CodeSigning&) = delete;
  CodeSigning& operator=(const CodeSigning&) = delete;
  virtual ~CodeSigning() = default;

  /// The signing information (`kSecCSSigningInformation`) of the running program's static code;
  /// `std::nullopt` when the platform refuses at any step or has no code signing.
  virtual std::optional<SigningInformation> ownSigningInformation() const = 0;

  /// The same of the executable at `url`.
  virtual std::optional<SigningInformation> signingInformation(const FileURL& url) const = 0;
};

}  // namespace blindfold
