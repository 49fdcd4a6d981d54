#pragma once

#include <memory>
#include <optional>

#include "blindfold/platform/dictionary_value.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// The two values of a code signature's information that this program reads, as they stand in it:
/// absent when the key is missing, of any type when it is there.
struct SigningInformation {
  std::optional<DictionaryValue> identifier;
  std::optional<DictionaryValue> teamIdentifier;

  bool operator==(const SigningInformation&) const = default;
};

/// A static code object: code on disk and its signature. The platform's object is released with it.
class StaticCode {
 public:
  StaticCode() = default;
  StaticCode(const StaticCode&) = delete;
  StaticCode& operator=(const StaticCode&) = delete;
  virtual ~StaticCode() = default;

  /// The signature's information (`kSecCSSigningInformation`), read now; nothing when the platform
  /// refuses or has no dictionary.
  virtual std::optional<SigningInformation> copySigningInformation() const = 0;
};

/// A code object: code that runs.
class Code {
 public:
  Code() = default;
  Code(const Code&) = delete;
  Code& operator=(const Code&) = delete;
  virtual ~Code() = default;

  /// The code on disk behind it, or null.
  virtual std::unique_ptr<StaticCode> copyStaticCode() const = 0;
};

/// Code signing, as far as this program asks about it. Any thread may call; nothing throws, and
/// nothing is cached: every call asks the platform anew. A platform without code signing has null
/// for every object.
class CodeSigning {
 public:
  CodeSigning() = default;
  CodeSigning(const CodeSigning&) = delete;
  CodeSigning& operator=(const CodeSigning&) = delete;
  virtual ~CodeSigning() = default;

  /// The running program's own code (`SecCodeCopySelf`), or null.
  virtual std::unique_ptr<Code> copySelf() const = 0;

  /// The static code of the executable at `url` (`SecStaticCodeCreateWithPath`), or null.
  virtual std::unique_ptr<StaticCode> createStaticCode(const FileURL& url) const = 0;
};

}  // namespace blindfold
