#pragma once

// The part of the Security framework that the macOS adapters use, declared for the cross-build alone and
// annotated as the system's own headers are. Every line has its row in docs/macos.md.

#import <CoreFoundation/CoreFoundation.h>
#import <MacTypes.h>
#include <stdint.h>

CF_ASSUME_NONNULL_BEGIN

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CF_BRIDGED_TYPE(id) __SecCode* SecCodeRef;
typedef const struct CF_BRIDGED_TYPE(id) __SecCode* SecStaticCodeRef;
typedef uint32_t SecCSFlags;

enum : SecCSFlags { kSecCSDefaultFlags = 0, kSecCSSigningInformation = 1 << 1 };
enum : OSStatus { errSecSuccess = 0 };

extern const CFStringRef kSecCodeInfoIdentifier;
extern const CFStringRef kSecCodeInfoTeamIdentifier;

OSStatus SecCodeCopySelf(SecCSFlags flags, SecCodeRef* __nonnull CF_RETURNS_RETAINED self);
OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags flags, SecStaticCodeRef* __nonnull CF_RETURNS_RETAINED staticCode);
OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef* __nonnull CF_RETURNS_RETAINED staticCode);
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags, CFDictionaryRef* __nonnull CF_RETURNS_RETAINED information);

#ifdef __cplusplus
}
#endif

CF_ASSUME_NONNULL_END
