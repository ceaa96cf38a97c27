// The device-change notifications the Xtra's shared MIDI client passes on. That its objects
// share the one client until the last goes is checked by MacOsxTonvikTest's destruction test and
// the fault sweep's client census; that a failed creation is retried, by xtra_faults.ls.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OSXMidiUtils.h"

namespace {

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
