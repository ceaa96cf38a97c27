#include "Strings.h"

#include <atomic>
#include <cstring>

#include "CallCounter.h"

struct CFStringOpaque {
  std::string utf8;
  CFIndex length;  // UTF-16 code units
  bool isAscii;
  bool isPermanent;
  // Strings may be released on any thread.
  std::atomic<long> references;
};

namespace coremidi {
namespace {

constexpr unsigned char kFirstNonAscii = 0x80;
constexpr unsigned char kContinuationMask = 0xC0;
constexpr unsigned char kContinuationBits = 0x80;
constexpr unsigned char kFourByteLead = 0xF0;
constexpr CFIndex kMaxUtf8BytesPerUnit = 3;
constexpr CFIndex kNotFound = -1;

std::atomic<long> liveStrings_{0};

bool isAscii(std::string_view text) {
  for (unsigned char c : text) {
    if (c >= kFirstNonAscii) return false;
  }
  return true;
}

// Characters as the platform counts them: a code point beyond the basic plane takes two.
CFIndex utf16Length(std::string_view utf8) {
  CFIndex length = 0;
  for (unsigned char c : utf8) {
    if ((c & kContinuationMask) == kContinuationBits) continue;
    length += c >= kFourByteLead ? 2 : 1;
  }
  return length;
}

CFStringOpaque* newString(std::string_view utf8, bool permanent) {
  auto* string =
      new CFStringOpaque{std::string(utf8), utf16Length(utf8), isAscii(utf8), permanent, {1}};
  if (!permanent) liveStrings_.fetch_add(1, std::memory_order_relaxed);
  return string;
}

}  // namespace

CFStringRef makeString(std::string_view utf8) {
  return newString(utf8, false);
}
CFStringRef makePermanentString(std::string_view utf8) {
  return newString(utf8, true);
}
std::string stringText(CFStringRef string) {
  return string ? string->utf8 : std::string();
}
long liveStrings() {
  return liveStrings_.load(std::memory_order_relaxed);
}

}  // namespace coremidi

using coremidi::ApiFunction;
using coremidi::countCall;

extern "C" {

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
  countCall(ApiFunction::CFStringCreateWithCString);
  if (!text) return nullptr;
  std::string_view view(text);
  if (encoding == kCFStringEncodingASCII && !coremidi::isAscii(view)) return nullptr;
  if (encoding != kCFStringEncodingASCII && encoding != kCFStringEncodingUTF8) return nullptr;
  return coremidi::makeString(view);
}

CFIndex CFStringGetLength(CFStringRef string) {
  countCall(ApiFunction::CFStringGetLength);
  return string ? string->length : 0;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  countCall(ApiFunction::CFStringGetMaximumSizeForEncoding);
  if (encoding == kCFStringEncodingASCII) return length;
  if (encoding == kCFStringEncodingUTF8) return length * coremidi::kMaxUtf8BytesPerUnit;
  return coremidi::kNotFound;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
  countCall(ApiFunction::CFStringGetCString);
  if (!string || !buffer || bufferSize < 1) return false;
  if (encoding == kCFStringEncodingASCII && !string->isAscii) return false;
  if (encoding != kCFStringEncodingASCII && encoding != kCFStringEncodingUTF8) return false;
  const auto size = static_cast<CFIndex>(string->utf8.size());
  if (size + 1 > bufferSize) return false;
  std::memcpy(buffer, string->utf8.data(), string->utf8.size());
  buffer[size] = '\0';
  return true;
}

CFTypeRef CFRetain(CFTypeRef object) {
  countCall(ApiFunction::CFRetain);
  auto* string = static_cast<const CFStringOpaque*>(object);
  if (string && !string->isPermanent) {
    const_cast<CFStringOpaque*>(string)->references.fetch_add(1, std::memory_order_relaxed);
  }
  return object;
}

void CFRelease(CFTypeRef object) {
  countCall(ApiFunction::CFRelease);
  auto* string = const_cast<CFStringOpaque*>(static_cast<const CFStringOpaque*>(object));
  if (!string || string->isPermanent) return;
  // acq_rel: the thread that frees the string must see every other holder's last use of it.
  if (string->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    coremidi::liveStrings_.fetch_sub(1, std::memory_order_relaxed);
    delete string;
  }
}

}  // extern "C"
