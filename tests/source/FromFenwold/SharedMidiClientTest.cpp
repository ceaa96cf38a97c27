#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MidiSystemControl.h"
#include "OSXMidiUtils.h"

namespace {

TEST(SharedMidiClientTest, AcquisitionsShareOneClientUntilTheLastRelease) {
  const int clientsBefore = midisystem::clientCount();
  const long stringsBefore = midisystem::liveStringCount();
  const MIDIClientRef first = fwAcquireMidiClient();
  const MIDIClientRef second = fwAcquireMidiClient();
  ASSERT_NE(first, 0u);
  EXPECT_EQ(second, first);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore + 1);

  fwReleaseMidiClient(second);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore + 1);
  fwReleaseMidiClient(first);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore);
  // The client's name was released whatever happened.
  EXPECT_EQ(midisystem::liveStringCount(), stringsBefore);
}

TEST(SharedMidiClientTest, AcquisitionAfterTheLastReleaseCreatesANewClient) {
  const MIDIClientRef old = fwAcquireMidiClient();
  fwReleaseMidiClient(old);
  midisystem::resetCallCounts();
  const MIDIClientRef renewed = fwAcquireMidiClient();
  ASSERT_NE(renewed, 0u);
  EXPECT_NE(renewed, old);
  EXPECT_EQ(midisystem::callCount("MIDIClientCreate"), 1u);
  fwReleaseMidiClient(renewed);
  EXPECT_EQ(midisystem::callCount("MIDIClientDispose"), 1u);
}

TEST(SharedMidiClientTest, FailedCreationLeavesNoClientAndIsRetried) {
  const int clientsBefore = midisystem::clientCount();
  const long stringsBefore = midisystem::liveStringCount();
  midisystem::resetCallCounts();
  midisystem::failNext(midisystem::Failure::ClientCreate);
  EXPECT_EQ(fwAcquireMidiClient(), 0u);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore);
  EXPECT_EQ(midisystem::liveStringCount(), stringsBefore);
  // Releasing the failed result is harmless.
  fwReleaseMidiClient(0);

  const MIDIClientRef client = fwAcquireMidiClient();
  EXPECT_NE(client, 0u);
  EXPECT_EQ(midisystem::callCount("MIDIClientCreate"), 2u);
  fwReleaseMidiClient(client);
  EXPECT_EQ(midisystem::clientCount(), clientsBefore);
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

TEST(SharedMidiClientTest, EveryNotificationCountsButOnlyObjectChangesReachListeners) {
  std::vector<std::string> log;
  NamedListener listener("L", log);
  fwAttachMidiDeviceConfigurationChangeListener(&listener);
  struct Case {
    MIDINotificationMessageID id;
    bool reachesListeners;
  };
  const Case cases[] = {{kMIDIMsgSetupChanged, false},
                        {kMIDIMsgObjectAdded, true},
                        {kMIDIMsgObjectRemoved, true},
                        {kMIDIMsgPropertyChanged, true},
                        {kMIDIMsgThruConnectionsChanged, false},
                        {kMIDIMsgSerialPortOwnerChanged, false},
                        {kMIDIMsgIOError, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    log.clear();
    const std::uint32_t before = fwDeviceConfigurationChangeCount();
    notify(c.id);
    EXPECT_EQ(fwDeviceConfigurationChangeCount(), before + 1);
    EXPECT_EQ(log.size(), c.reachesListeners ? 1u : 0u);
  }
  fwDetachMidiDeviceConfigurationChangeListener(&listener);
}

TEST(SharedMidiClientTest, ListenersAreToldInAttachOrderAndDetachRemovesTheFirstOccurrence) {
  std::vector<std::string> log;
  NamedListener a("A", log);
  NamedListener b("B", log);
  fwAttachMidiDeviceConfigurationChangeListener(&a);
  fwAttachMidiDeviceConfigurationChangeListener(&b);
  fwAttachMidiDeviceConfigurationChangeListener(&a);
  notify(kMIDIMsgObjectAdded);
  EXPECT_EQ(log, (std::vector<std::string>{"A", "B", "A"}));

  log.clear();
  fwDetachMidiDeviceConfigurationChangeListener(&a);
  notify(kMIDIMsgPropertyChanged);
  EXPECT_EQ(log, (std::vector<std::string>{"B", "A"}));
  fwDetachMidiDeviceConfigurationChangeListener(&a);
  fwDetachMidiDeviceConfigurationChangeListener(&b);
  log.clear();
  notify(kMIDIMsgObjectRemoved);
  EXPECT_TRUE(log.empty());
}

TEST(SharedMidiClientDeathTest, ReleasingAClientThatIsNotTheSharedOneIsAnAssertion) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(fwReleaseMidiClient(0x7FFF),
               "Assertion failed: client == globalMidiClient_, function fwReleaseMidiClient, "
               "file OSXMidiUtils.cpp, line [0-9]+\\.");
}

TEST(SharedMidiClientDeathTest, DetachingAListenerThatIsNotAttachedIsAnAssertion) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::vector<std::string> log;
  NamedListener stranger("S", log);
  EXPECT_DEATH(fwDetachMidiDeviceConfigurationChangeListener(&stranger),
               "Assertion failed: i != deviceConfigurationChangeListeners_.end\\(\\), function "
               "fwDetachMidiDeviceConfigurationChangeListener, file OSXMidiUtils.cpp");
}

}  // namespace
