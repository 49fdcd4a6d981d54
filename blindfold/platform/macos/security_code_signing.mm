#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/macos_platform.h"
#include "blindfold/platform/macos/platform_call.h"
#include "blindfold/platform/macos/scoped_reference.h"

namespace blindfold {
namespace {
std::optional<DictionaryValue> valueUnder(CFStringRef key, CFDictionaryRef dictionary) {
  return dictionaryValueOf((id)CFDictionaryGetValue(dictionary, key));
}

/// The information of `code`'s signature; `std::nullopt` when the platform refuses or has none.
std::optional<SigningInformation> informationOf(SecStaticCodeRef code) {
  CoreFoundationReference<CFDictionaryRef> information;
  const OSStatus status =
      SecCodeCopySigningInformation(code, kSecCSSigningInformation, information.receive());
  if (status != errSecSuccess || !information) return std::nullopt;
  return SigningInformation{
      .identifier = valueUnder(kSecCodeInfoIdentifier, information.get()),
      .teamIdentifier = valueUnder(kSecCodeInfoTeamIdentifier, information.get()),
  };
}
}  // namespace

std::optional<SigningInformation> SecurityCodeSigning::ownSigningInformation() const {
  return askPlatform([]() -> std::optional<SigningInformation> {
    CoreFoundationReference<SecCodeRef> code;
    OSStatus status = SecCodeCopySelf(kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess || !code) return std::nullopt;
    CoreFoundationReference<SecStaticCodeRef> staticCode;
    status = SecCodeCopyStaticCode(code.get(), kSecCSDefaultFlags, staticCode.receive());
    if (status != errSecSuccess || !staticCode) return std::nullopt;
    return informationOf(staticCode.get());
  });
}

std::optional<SigningInformation> SecurityCodeSigning::signingInformation(
    const FileURL& url) const {
  return askPlatform([&]() -> std::optional<SigningInformation> {
    NSURL* const file = fileURLOf(url);
    if (file == nil) return std::nullopt;
    CoreFoundationReference<SecStaticCodeRef> code;
    const OSStatus status =
        SecStaticCodeCreateWithPath((CFURLRef)file, kSecCSDefaultFlags, code.receive());
    if (status != errSecSuccess || !code) return std::nullopt;
    return informationOf(code.get());
  });
}

}  // namespace blindfold
