#pragma once

// What the macOS adapters use of the Security framework, declared for the cross-build alone. Every
// line has its row in docs/macos.md.

#import <CoreFoundation/CoreFoundation.h>
#import <MacTypes.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct __SecCode* SecCodeRef;
typedef const struct __SecCode* SecStaticCodeRef;
typedef uint32_t SecCSFlags;

enum : SecCSFlags { kSecCSDefaultFlags = 0, kSecCSSigningInformation = 1 << 1 };
enum : OSStatus { errSecSuccess = 0 };

extern const CFStringRef kSecCodeInfoIdentifier;
extern const CFStringRef kSecCodeInfoTeamIdentifier;

OSStatus SecCodeCopySelf(SecCSFlags flags, SecCodeRef* self);
OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags,
                                       CFDictionaryRef* information);

#ifdef __cplusplus
}
#endif
