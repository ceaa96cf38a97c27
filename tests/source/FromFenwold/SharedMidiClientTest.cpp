// The one MIDI client the Xtra's objects share, and the device-change notifications it passes on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MidiSystemControl.h"
#include "OSXMidiUtils.h"

namespace {

TEST(SharedMidiClientTest, AcquisitionsShareOneClientUntilTheLastReleaseAndFailuresAreRetried) {
  const int clientsBefore = midisystem::clientCount();
  const long stringsBefore = midisystem::liveStringCount();
  midisystem::resetCallCounts();
  midisystem::failNext(midisystem::Failure::ClientCreate);
  EXPECT_EQ(fwAcquireMidiClient(), 0u);
  fwReleaseMidiClient(0);  // releasing the failed result is harmless
  EXPECT_EQ(midisystem::clientCount(), clientsBefore);

  const MIDIClientRef first = fwAcquireMidiClient();
  ASSERT_NE(first, 0u);
  EXPECT_EQ(fwAcquireMidiClient(), first);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore + 1);
  fwReleaseMidiClient(first);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore + 1);
  fwReleaseMidiClient(first);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore);

  const MIDIClientRef renewed = fwAcquireMidiClient();
  EXPECT_NE(renewed, first);
  fwReleaseMidiClient(renewed);
  EXPECT_EQ(midisystem::callCount("MIDIClientCreate"), 3u);
  EXPECT_EQ(midisystem::callCount("MIDIClientDispose"), 2u);
  // The client's name was released whatever happened.
  EXPECT_EQ(midisystem::liveStringCount(), stringsBefore);
}

// Records which listener was told, in order.
struct NamedListener : MidiDeviceConfigurationChangeListener {
  NamedListener(std::string name, std::vector<std::string>& log)
      : name_(std::move(name)), log_(log) {}
  void deviceConfigurationChanged() override { log_.push_back(name_); }
  std::string name_;
  std::vector<std::string>& log_;
};

void notify(MIDINotificationMessageID id) {
  MIDINotification message{id, sizeof(MIDINotification)};
  midiClientNotifyProc(&message, nullptr);
}

// Every notification counts, but only changes of objects reach the listeners: in attach order,
// and detaching removes the first occurrence.
TEST(SharedMidiClientTest, ObjectChangesReachListenersInAttachOrder) {
  std::vector<std::string> log;
  NamedListener a("A", log);
  NamedListener b("B", log);
  fwAttachMidiDeviceConfigurationChangeListener(&a);
  fwAttachMidiDeviceConfigurationChangeListener(&b);
  fwAttachMidiDeviceConfigurationChangeListener(&a);
  const std::pair<MIDINotificationMessageID, bool> cases[] = {
      {kMIDIMsgSetupChanged, false},
      {kMIDIMsgObjectAdded, true},
      {kMIDIMsgObjectRemoved, true},
      {kMIDIMsgPropertyChanged, true},
      {kMIDIMsgThruConnectionsChanged, false},
      {kMIDIMsgSerialPortOwnerChanged, false},
      {kMIDIMsgIOError, false}};
  for (const auto& [id, reachesListeners] : cases) {
    log.clear();
    const std::uint32_t before = fwDeviceConfigurationChangeCount();
    notify(id);
    EXPECT_EQ(fwDeviceConfigurationChangeCount(), before + 1) << id;
    const std::vector<std::string> told = {"A", "B", "A"};
    EXPECT_EQ(log, reachesListeners ? told : std::vector<std::string>{}) << id;
  }
  log.clear();
  fwDetachMidiDeviceConfigurationChangeListener(&a);
  notify(kMIDIMsgPropertyChanged);
  EXPECT_EQ(log, (std::vector<std::string>{"B", "A"}));
  fwDetachMidiDeviceConfigurationChangeListener(&a);
  fwDetachMidiDeviceConfigurationChangeListener(&b);
}

}  // namespace
