#pragma once

// What the macOS adapters use of Core Foundation, declared for the cross-build alone. Every line has
// its row in docs/macos.md.

#ifdef __cplusplus
extern "C" {
#endif

typedef const void* CFTypeRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFURL* CFURLRef;

void CFRelease(CFTypeRef cf);
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);

#ifdef __cplusplus
}
#endif
