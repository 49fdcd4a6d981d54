#pragma once

// A stand-in for the part of the Security framework that the adapters use. What it answers is set
// by tests (security_stand_in.h).

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

extern "C" {

typedef std::int32_t OSStatus;
typedef std::uint32_t SecCSFlags;
typedef struct __SecCode* SecCodeRef;
typedef const struct __SecCode* SecStaticCodeRef;

enum : OSStatus { errSecSuccess = 0 };
enum : SecCSFlags { kSecCSDefaultFlags = 0, kSecCSSigningInformation = 2 };

extern const CFStringRef kSecCodeInfoIdentifier;
extern const CFStringRef kSecCodeInfoTeamIdentifier;

OSStatus SecCodeCopySelf(SecCSFlags flags, SecCodeRef* self);
OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags,
                                       CFDictionaryRef* information);

}  // extern "C"
