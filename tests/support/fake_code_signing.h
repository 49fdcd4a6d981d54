#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// Code signing whose answers are its fields. It counts the objects it has handed out that are
/// still alive.
class FakeCodeSigning : public CodeSigning {
 public:
  /// What signature information the platform has; nothing where it refuses.
  using Information = std::optional<SigningInformation>;

  bool hasOwnCode = true;
  bool hasOwnStaticCode = true;
  Information ownInformation;
  /// The static code that can be created, by the path of its executable.
  std::map<std::string, Information> informationByPath;

  std::unique_ptr<Code> copySelf() const override {
    if (!hasOwnCode) return nullptr;
    return std::make_unique<FakeCode>(*this, liveness_);
  }

  std::unique_ptr<StaticCode> createStaticCode(const FileURL& url) const override {
    const auto entry = informationByPath.find(url.path());
    if (entry == informationByPath.end()) return nullptr;
    return std::make_unique<FakeStaticCode>(entry->second, liveness_);
  }

  long liveObjects() const { return liveness_.use_count() - 1; }

 private:
  using Liveness = std::shared_ptr<const int>;

  class FakeStaticCode : public StaticCode {
   public:
    FakeStaticCode(Information information, Liveness liveness)
        : information_(std::move(information)), liveness_(std::move(liveness)) {}
    Information copySigningInformation() const override { return information_; }

   private:
    Information information_;
    Liveness liveness_;
  };

  class FakeCode : public Code {
   public:
    FakeCode(const FakeCodeSigning& codeSigning, Liveness liveness)
        : codeSigning_(codeSigning), liveness_(std::move(liveness)) {}
    std::unique_ptr<StaticCode> copyStaticCode() const override {
      if (!codeSigning_.hasOwnStaticCode) return nullptr;
      return std::make_unique<FakeStaticCode>(codeSigning_.ownInformation, liveness_);
    }

   private:
    const FakeCodeSigning& codeSigning_;
    Liveness liveness_;
  };

  Liveness liveness_ = std::make_shared<const int>(0);
};

}  // namespace blindfold
