#pragma once

// The part of Core Foundation that the macOS adapters use, declared for the cross-build alone and annotated as
// the system's own headers are. Every line has its row in docs/macos.md.

#include <os/availability.h>

#define CF_BRIDGED_TYPE(T) __attribute__((objc_bridge(T)))
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))
#define CF_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define CF_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define CF_IMPLICIT_BRIDGING_ENABLED _Pragma("clang arc_cf_code_audited begin")
#define CF_IMPLICIT_BRIDGING_DISABLED _Pragma("clang arc_cf_code_audited end")

#ifdef __cplusplus
extern "C" {
#endif

typedef const CF_BRIDGED_TYPE(id) void* CFTypeRef;
typedef const struct CF_BRIDGED_TYPE(NSString) __CFString* CFStringRef;
typedef const struct CF_BRIDGED_TYPE(NSDictionary) __CFDictionary* CFDictionaryRef;
typedef const struct CF_BRIDGED_TYPE(NSURL) __CFURL* CFURLRef;

CF_IMPLICIT_BRIDGING_ENABLED

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);

CF_IMPLICIT_BRIDGING_DISABLED

void CFRelease(CFTypeRef cf);

#ifdef __cplusplus
}
#endif
