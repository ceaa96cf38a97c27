// The control side of the MIDI system: the backend. Failures by name, each hitting exactly the
// next calls, are run by xtra_faults.ls; the fault sweep in tests/hardening shows each failure
// reaching its call.
#include <gtest/gtest.h>

#include "MidiSystemControl.h"

namespace {

TEST(ControlTest, BackendIsVirtualAndCannotChangeOnceRunning) {
  EXPECT_EQ(midisystem::backendName(), "virtual");
  EXPECT_FALSE(midisystem::selectBackend("virtual"));
  EXPECT_FALSE(midisystem::selectBackend("no such backend"));
}

}  // namespace
