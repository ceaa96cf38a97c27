// The MIDI system's diagnostics: a test's sink takes each line instead of standard error, and a
// real-time thread writes none: its lines are counted, and the next line written reports them.
// What the JACK backend says is checked by the JACK tests.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "Diagnostics.h"
#include "MidiSystemControl.h"

namespace {

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

}  // namespace
