#include <gtest/gtest.h>

#include <string>

#include "CFString.h"
#include "HostTime.h"
#include "MidiSystemControl.h"

namespace {

struct AsciiCase {
  const char* text;
  CFStringEncoding madeAs;
  bool made;
  CFIndex length;
  bool readsAsAscii;
};

TEST(StringTest, AsciiConversionFailsOnAnyNonAsciiCharacter) {
  const AsciiCase cases[] = {
      {"Tonvik Xtra", kCFStringEncodingASCII, true, 11, true},
      {"", kCFStringEncodingASCII, true, 0, true},
      {"Caf\xC3\xA9", kCFStringEncodingASCII, false, 0, false},
      {"Caf\xC3\xA9", kCFStringEncodingUTF8, true, 4, false},
      {"\xF0\x9F\x8E\xB9 Keys", kCFStringEncodingUTF8, true, 7, false},
  };
  for (const AsciiCase& c : cases) {
    SCOPED_TRACE(c.text);
    const long liveBefore = midisystem::liveStringCount();
    CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, c.text, c.madeAs);
    ASSERT_EQ(string != nullptr, c.made);
    if (!string) continue;
    EXPECT_EQ(CFStringGetLength(string), c.length);
    const CFIndex size = CFStringGetMaximumSizeForEncoding(c.length, kCFStringEncodingASCII);
    char buffer[64] = {'x'};
    EXPECT_EQ(CFStringGetCString(string, buffer, size + 1, kCFStringEncodingASCII) != 0,
              c.readsAsAscii);
    if (c.readsAsAscii) {
      EXPECT_EQ(std::string(buffer), c.text);
    }
    EXPECT_EQ(midisystem::liveStringCount(), liveBefore + 1);
    CFRelease(string);
    EXPECT_EQ(midisystem::liveStringCount(), liveBefore);
  }
}

TEST(HostTimeTest, TicksAreNotNanosecondsAndConvertBothWays) {
  const UInt64 oneSecond = 1000000000;
  const UInt64 ticks = AudioConvertNanosToHostTime(oneSecond);
  EXPECT_NE(ticks, oneSecond);
  EXPECT_EQ(AudioConvertHostTimeToNanos(ticks), oneSecond);
  // Large values (years of uptime) must not overflow.
  const UInt64 tenYears = oneSecond * 60 * 60 * 24 * 365 * 10;
  EXPECT_EQ(AudioConvertHostTimeToNanos(AudioConvertNanosToHostTime(tenYears)), tenYears);
}

}  // namespace
