// Immutable strings. Only two encodings exist here: ASCII, which is what the Xtra speaks, and
// UTF-8, which lets a MIDI driver give its objects names that ASCII cannot hold. A string that
// contains any non-ASCII character fails every conversion to ASCII.
#pragma once

#include "PlatformTypes.h"

typedef long CFIndex;
typedef UInt32 CFStringEncoding;
typedef const void* CFTypeRef;
typedef const struct CFStringOpaque* CFStringRef;
typedef const struct CFAllocatorOpaque* CFAllocatorRef;

enum : CFStringEncoding {
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingUTF8 = 0x08000100,
};

// Strings come from the process heap; the default allocator is the only one.
inline constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;

extern "C" {

// Null when the bytes are not valid in the encoding (any byte above 0x7F in ASCII).
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                      CFStringEncoding encoding);
// The length in characters (UTF-16 code units, as the platform counts them).
CFIndex CFStringGetLength(CFStringRef string);
// The most bytes that `length` characters can take in the encoding, without the terminator.
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
// Copies the text with a terminating zero; false if it does not fit or cannot be encoded.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
CFTypeRef CFRetain(CFTypeRef object);
// Gives back one reference; the last one frees the string. Releasing null does nothing.
void CFRelease(CFTypeRef object);

}  // extern "C"
