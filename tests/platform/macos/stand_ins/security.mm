#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include <atomic>

#include "blindfold/platform/macos/conversion.h"
#include "security_stand_in.h"

using blindfold::SecurityStandIn;

namespace {
std::atomic<int> handedOut{0};

/// Hands out `object`, retained, as a function with "Copy" or "Create" in its name does.
template <class Reference>
OSStatus handOut(SecurityStandIn::Function function, bool available, id object, Reference* out) {
  constexpr OSStatus errCSUnsigned = -67062;
  if (!available) return errCSUnsigned;
  if (SecurityStandIn::shared().emptyHanded == function) return errSecSuccess;
  ++handedOut;
  *out = reinterpret_cast<Reference>([object retain]);
  return errSecSuccess;
}

void setValue(NSMutableDictionary* information, CFStringRef key, SecurityStandIn::Value value,
              const std::string& text) {
  if (value == SecurityStandIn::Value::missing) return;
  const id object = value == SecurityStandIn::Value::text
                        ? static_cast<id>(blindfold::stringOf(text))
                        : [NSNumber numberWithInt:7];
  [information setObject:object forKey:(id)key];
}
}  // namespace

const CFStringRef kSecCodeInfoIdentifier = (CFStringRef) @"identifier";
const CFStringRef kSecCodeInfoTeamIdentifier = (CFStringRef) @"teamid";

void CFRelease(CFTypeRef reference) {
  --handedOut;
  [(id)reference release];
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  return [(NSDictionary*)dictionary objectForKey:(id)key];
}

OSStatus SecCodeCopySelf(SecCSFlags flags, SecCodeRef* self) {
  SecurityStandIn::shared().selfFlags = flags;
  return handOut(SecurityStandIn::Function::self, SecurityStandIn::shared().hasSelf,
                 [NSMutableString string], self);
}

OSStatus SecCodeCopyStaticCode(SecCodeRef, SecCSFlags flags, SecStaticCodeRef* staticCode) {
  SecurityStandIn::shared().staticCodeFlags = flags;
  return handOut(SecurityStandIn::Function::staticCode, SecurityStandIn::shared().hasStaticCode,
                 [NSMutableString string], staticCode);
}

OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags,
                                     SecStaticCodeRef* staticCode) {
  SecurityStandIn::shared().pathFlags = flags;
  SecurityStandIn::shared().staticCodePath = blindfold::textOf([(NSURL*)path path]);
  return handOut(SecurityStandIn::Function::path, SecurityStandIn::shared().hasStaticCode,
                 [NSMutableString string], staticCode);
}

OSStatus SecCodeCopySigningInformation(SecStaticCodeRef, SecCSFlags flags,
                                       CFDictionaryRef* information) {
  SecurityStandIn& settings = SecurityStandIn::shared();
  settings.informationFlags = flags;
  NSMutableDictionary* const values = [NSMutableDictionary dictionary];
  setValue(values, kSecCodeInfoIdentifier, settings.identifier, settings.identifierText);
  setValue(values, kSecCodeInfoTeamIdentifier, settings.teamIdentifier,
           settings.teamIdentifierText);
  return handOut(SecurityStandIn::Function::information, settings.hasInformation, values,
                 information);
}

namespace blindfold {

SecurityStandIn& SecurityStandIn::shared() {
  static SecurityStandIn settings;
  return settings;
}

void SecurityStandIn::reset() {
  *this = SecurityStandIn();
  identifierText = "app.blindfold.mac";
  teamIdentifierText = "T1";
}

int SecurityStandIn::liveObjects() {
  return handedOut;
}

}  // namespace blindfold
