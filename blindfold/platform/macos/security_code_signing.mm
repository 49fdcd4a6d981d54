#include "blindfold/platform/macos/security_code_signing.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include <utility>

#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/holders.h"
#include "blindfold/platform/macos/platform_call.h"

namespace blindfold {

namespace {

std::optional<DictionaryValue> valueUnder(CFStringRef key, const CFHolder<CFDictionaryRef>& from) {
  return dictionaryValueOf((id)CFDictionaryGetValue(from.get(), key));
}

class SecurityStaticCode final : public StaticCode {
 public:
  explicit SecurityStaticCode(CFHolder<SecStaticCodeRef> code) : code_(std::move(code)) {}

  std::optional<SigningInformation> copySigningInformation() const override {
    return askPlatform([&]() -> std::optional<SigningInformation> {
      CFHolder<CFDictionaryRef> information;
      const OSStatus status = SecCodeCopySigningInformation(code_.get(), kSecCSSigningInformation,
                                                            information.receive());
      if (status != errSecSuccess || !information) return std::nullopt;
      return SigningInformation{
          .identifier = valueUnder(kSecCodeInfoIdentifier, information),
          .teamIdentifier = valueUnder(kSecCodeInfoTeamIdentifier, information),
      };
    });
  }

 private:
  CFHolder<SecStaticCodeRef> code_;
};

class SecurityCode final : public Code {
 public:
  explicit SecurityCode(CFHolder<SecCodeRef> code) : code_(std::move(code)) {}

  std::unique_ptr<StaticCode> copyStaticCode() const override {
    return askPlatform([&]() -> std::unique_ptr<StaticCode> {
      CFHolder<SecStaticCodeRef> staticCode;
      const OSStatus status =
          SecCodeCopyStaticCode(code_.get(), kSecCSDefaultFlags, staticCode.receive());
      if (status != errSecSuccess || !staticCode) return nullptr;
      return std::make_unique<SecurityStaticCode>(std::move(staticCode));
    });
  }

 private:
  CFHolder<SecCodeRef> code_;
};

}  // namespace

std::unique_ptr<Code> SecurityCodeSigning::copySelf() const {
  return askPlatform([]() -> std::unique_ptr<Code> {
    CFHolder<SecCodeRef> code;
    const OSStatus status = SecCodeCopySelf(kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess || !code) return nullptr;
    return std::make_unique<SecurityCode>(std::move(code));
  });
}

std::unique_ptr<StaticCode> SecurityCodeSigning::createStaticCode(const FileURL& url) const {
  return askPlatform([&]() -> std::unique_ptr<StaticCode> {
    NSURL* const place = fileURLOf(url);
    if (place == nil) return nullptr;
    CFHolder<SecStaticCodeRef> code;
    const OSStatus status =
        SecStaticCodeCreateWithPath((CFURLRef)place, kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess || !code) return nullptr;
    return std::make_unique<SecurityStaticCode>(std::move(code));
  });
}

}  // namespace blindfold
