#pragma once

// A stand-in for the part of Core Foundation that the adapters use, over GNUstep's objects: a
// reference is an object's address, as with the real one's bridged types.

extern "C" {

typedef const void* CFTypeRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFURL* CFURLRef;

void CFRelease(CFTypeRef reference);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

}  // extern "C"
