#include "blindfold/platform/macos/security_code_signing.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/holders.h"
#include "blindfold/platform/macos/platform_call.h"

namespace blindfold {

namespace {

std::optional<DictionaryValue> valueUnder(CFStringRef key, const CFHolder<CFDictionaryRef>& from) {
  return dictionaryValueOf((id)CFDictionaryGetValue(from.get(), key));
}

/// The information of `code`'s signature; `std::nullopt` when the platform refuses or has none.
std::optional<SigningInformation> informationOf(const CFHolder<SecStaticCodeRef>& code) {
  CFHolder<CFDictionaryRef> information;
  const OSStatus status =
      SecCodeCopySigningInformation(code.get(), kSecCSSigningInformation, information.receive());
  if (status != errSecSuccess || !information) return std::nullopt;
  return SigningInformation{
      .identifier = valueUnder(kSecCodeInfoIdentifier, information),
      .teamIdentifier = valueUnder(kSecCodeInfoTeamIdentifier, information),
  };
}

}  // namespace

std::optional<SigningInformation> SecurityCodeSigning::ownSigningInformation() const {
  return askPlatform([]() -> std::optional<SigningInformation> {
    CFHolder<SecCodeRef> code;
    OSStatus status = SecCodeCopySelf(kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess || !code) return std::nullopt;
    CFHolder<SecStaticCodeRef> staticCode;
    status = SecCodeCopyStaticCode(code.get(), kSecCSDefaultFlags, staticCode.receive());
    if (status != errSecSuccess || !staticCode) return std::nullopt;
    return informationOf(staticCode);
  });
}

std::optional<SigningInformation> SecurityCodeSigning::signingInformation(
    const FileURL& url) const {
  return askPlatform([&]() -> std::optional<SigningInformation> {
    NSURL* const file = fileURLOf(url);
    if (file == nil) return std::nullopt;
    CFHolder<SecStaticCodeRef> code;
    const OSStatus status =
        SecStaticCodeCreateWithPath((CFURLRef)file, kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess || !code) return std::nullopt;
    return informationOf(code);
  });
}

}  // namespace blindfold
