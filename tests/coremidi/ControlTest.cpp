// The control side of the MIDI system: its backend, its diagnostics, and host time. Failures by
// name, each hitting exactly the next calls, are run by xtra_faults.ls; the fault sweep in
// tests/hardening shows each failure reaching its call. Strings, their ASCII reading and their
// census are what the endpoint directory's naming table ("non-ASCII names read as empty") checks
// through the Xtra; what the JACK backend says is checked by the JACK tests.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "Diagnostics.h"
#include "HostTime.h"
#include "MidiSystemControl.h"

namespace {

TEST(ControlTest, BackendIsVirtualAndCannotChangeOnceRunning) {
  EXPECT_EQ(midisystem::backendName(), "virtual");
  EXPECT_FALSE(midisystem::selectBackend("virtual"));
  EXPECT_FALSE(midisystem::selectBackend("no such backend"));
}

// A test's sink takes each line instead of standard error, and a real-time thread writes none:
// its lines are counted, and the next line written reports them.
TEST(Diagnostics, ASinkTakesEachLineAndARealTimeThreadWritesNone) {
  std::vector<std::string> lines;
  midisystem::setDiagnosticSink([&](const std::string& line) { lines.push_back(line); });
  coremidi::diagnose("MIDI system: %d of \"%s\"", 1, "two");
  std::thread([] {
    const coremidi::RealTimeThread mark;
    coremidi::diagnose("dropped");
    coremidi::diagnose("dropped too");
  }).join();
  EXPECT_EQ(lines.size(), 1u);
  coremidi::diagnose("later");
  midisystem::setDiagnosticSink({});
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "MIDI system: 1 of \"two\"",
                "MIDI system: 2 diagnostic lines of a real-time thread were dropped.", "later"}));
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
