// The control side of the MIDI system that scripts and tests use: failures by name, and the
// backend. The fault sweep in tests/hardening shows each failure reaching its call.
#include <gtest/gtest.h>

#include "MidiServices.h"
#include "MidiSystemControl.h"

namespace {

using midisystem::Failure;

TEST(ControlTest, FailuresAreKnownByTheirNamesAndHitExactlyTheNextCalls) {
  const std::pair<Failure, const char*> names[] = {{Failure::ClientCreate, "clientCreate"},
                                                   {Failure::InputPortCreate, "inputPortCreate"},
                                                   {Failure::OutputPortCreate, "outputPortCreate"},
                                                   {Failure::ConnectSource, "connectSource"},
                                                   {Failure::Send, "send"},
                                                   {Failure::SendSysex, "sendSysex"},
                                                   {Failure::SysexComplete, "sysexComplete"}};
  for (const auto& [failure, name] : names) {
    Failure named{};
    ASSERT_TRUE(midisystem::failureFromName(name, named)) << name;
    EXPECT_EQ(named, failure) << name;
  }
  Failure failure{};
  EXPECT_FALSE(midisystem::failureFromName("reboot", failure));

  const int before = midisystem::clientCount();
  midisystem::failNext(Failure::ClientCreate, 2);
  MIDIClientRef client = 0;
  EXPECT_NE(MIDIClientCreate(nullptr, nullptr, nullptr, &client), noErr);
  EXPECT_NE(MIDIClientCreate(nullptr, nullptr, nullptr, &client), noErr);
  EXPECT_EQ(midisystem::clientCount(), before);
  ASSERT_EQ(MIDIClientCreate(nullptr, nullptr, nullptr, &client), noErr);
  EXPECT_EQ(midisystem::clientCount(), before + 1);
  EXPECT_EQ(MIDIClientDispose(client), noErr);
}

TEST(ControlTest, BackendIsVirtualAndCannotChangeOnceRunning) {
  EXPECT_EQ(midisystem::backendName(), "virtual");
  EXPECT_FALSE(midisystem::selectBackend("virtual"));
  EXPECT_FALSE(midisystem::selectBackend("no such backend"));
}

}  // namespace
