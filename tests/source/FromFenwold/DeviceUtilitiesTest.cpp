// The device utilities: the endpoint directory's naming rules, its cache, identifiers across
// changes, and the notifications the shared MIDI client passes on. That each direction is named
// on its own is run by xtra_devices.ls.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "MidiSystemControl.h"
#include "OSXMidiUtils.h"
#include "VirtualMidi.h"

namespace {

using virtualmidi::DeviceSpec;
using virtualmidi::EndpointSpec;
using virtualmidi::EntitySpec;
using Entries = std::vector<DeviceListEntry>;

// One entity holding the given sources (and no destinations).
EntitySpec entityWith(virtualmidi::Name name, std::vector<virtualmidi::Name> sources) {
  EntitySpec entity{std::move(name), {}, {}};
  for (auto& source : sources) entity.sources.push_back(EndpointSpec{std::move(source)});
  return entity;
}

Entries inputs() {
  DeviceList devices;
  fwGetMidiInputDevices(devices);
  Entries entries;
  for (std::int32_t i = 0; i < devices.size(); ++i) entries.push_back(devices.at(i));
  return entries;
}

class EndpointDirectoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    client_ = fwAcquireMidiClient();
    ASSERT_NE(client_, 0u);
  }
  void TearDown() override {
    fwReleaseMidiClient(client_);
    virtualmidi::replaceSetup(virtualmidi::defaultSetup());
    EXPECT_EQ(midisystem::liveStringCount(), 0);
  }
  // Changes the system and lets its notifications arrive, as the host's event loop would.
  static void use(const virtualmidi::Setup& setup) {
    virtualmidi::replaceSetup(setup);
    midisystem::runRunLoop(0);
  }

  MIDIClientRef client_ = 0;
};

struct NamingCase {
  const char* title;
  virtualmidi::Setup setup;
  Entries expected;
};

DeviceSpec device(virtualmidi::Name name, std::vector<EntitySpec> entities, bool listed = true) {
  return DeviceSpec{std::move(name), std::move(entities), listed};
}

std::vector<NamingCase> namingCases() {
  using std::nullopt;
  // Single entities and prefixes are what xtra_devices.ls lists; two equal entities, two equal
  // devices, are what the groups of three below number.
  const DeviceSpec uno = device("Uno", {entityWith("Uno", {"Uno"})});
  const DeviceSpec duo = device("Duo", {entityWith("Duo", {"Duo"})});
  return {
      {"empty device names, numbered like any",
       {{device(nullopt, {entityWith(nullopt, {"X"}), entityWith("Port", {nullopt}),
                          entityWith("A", {"In"})}),
         device("", {entityWith("E", {"S"})})}},
       {{"X", ",0%,0%X,0"},
        {"Port", ",0%Port,0%,0"},
        {" (1) In", ",0%A,0%In,0"},
        {" (2) S", ",1%E,0%S,0"}}},
      {"device name only",
       {{device("Solo", {entityWith(nullopt, {nullopt}), entityWith(nullopt, {nullopt})})}},
       {{"Solo (1)", "Solo,0%,0%,0"}, {"Solo (2)", "Solo,0%,1%,0"}}},
      {"non-ASCII names read as empty",
       {{device("Hub", {entityWith("Port", {"Caf\xC3\xA9"}), entityWith("Other", {"Out"})}),
         device("Ger\xC3\xA4t", {entityWith("E", {"S"})})}},
       {{"Hub Port", "Hub,0%Port,0%,0"}, {"Hub Out", "Hub,0%Other,0%Out,0"}, {" S", ",0%E,0%S,0"}}},
      {"endpoint named like its device among several entities",
       {{device("Hub", {entityWith("Hub", {"Hub"}), entityWith("Port 2", {"Port 2"})})}},
       {{"Hub ", "Hub,0%Hub,0%Hub,0"}, {"Hub Port 2", "Hub,0%Port 2,0%Port 2,0"}}},
      {"groups of three, interleaved, and a display name equal to a numbered one",
       {{uno, duo, uno, duo, uno}, {{"Duo (2)"}, {"Solo"}, {"Solo"}}, {}},
       {{"Uno (1)", "Uno,0%Uno,0%Uno,0"},
        {"Duo (1)", "Duo,0%Duo,0%Duo,0"},
        {"Uno (2)", "Uno,1%Uno,0%Uno,0"},
        {"Duo (2) (1)", "Duo,1%Duo,0%Duo,0"},
        {"Uno (3)", "Uno,2%Uno,0%Uno,0"},
        {"Duo (2) (2)", "Duo (2),0"},
        {"Solo (1)", "Solo,0"},
        {"Solo (2)", "Solo,0"}}},
      {"three equal entities, and equal sources in one entity",
       {{device("Hub", {entityWith("Port", {nullopt}), entityWith("Port", {nullopt}),
                        entityWith("Port", {nullopt})}),
         device("Uno", {entityWith("Uno", {"A", "B", "A"})})}},
       {{"Hub Port (1)", "Hub,0%Port,0%,0"},
        {"Hub Port (2)", "Hub,0%Port,1%,0"},
        {"Hub Port (3)", "Hub,0%Port,2%,0"},
        {"Uno (1)", "Uno,0%Uno,0%A,0"},
        {"Uno (2)", "Uno,0%Uno,0%B,0"},
        {"Uno (3)", "Uno,0%Uno,0%A,1"}}},
      {"attached and unattached with equal display names",
       {{uno}, {{"Uno"}}, {}},
       {{"Uno (1)", "Uno,0%Uno,0%Uno,0"}, {"Uno (2)", "Uno,0"}}},
  };
}

TEST_F(EndpointDirectoryTest, NamesAndIdentifiersFollowTheNamingRules) {
  for (const NamingCase& c : namingCases()) {
    SCOPED_TRACE(c.title);
    use(c.setup);
    const Entries entries = inputs();
    EXPECT_EQ(entries, c.expected);
    // Every entry finds an endpoint again; distinct identifiers find distinct endpoints, and
    // equal ones (unattached twins) the first of them.
    std::vector<MIDIEndpointRef> found;
    for (const DeviceListEntry& entry : entries) {
      found.push_back(fwFindMidiSourceEndpoint(entry));
      EXPECT_NE(found.back(), 0u) << entry.first;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
      for (std::size_t j = 0; j < i; ++j) {
        EXPECT_EQ(found[i] == found[j], entries[i].second == entries[j].second)
            << entries[i].first << " / " << entries[j].first;
      }
    }
  }
}

TEST_F(EndpointDirectoryTest, ListingIsCachedUntilANotificationArrives) {
  use({{device("Old", {entityWith("Port 1", {"Port 1"}), entityWith("Port 2", {"Port 2"})})}});
  const Entries first = inputs();
  midisystem::resetCallCounts();
  EXPECT_EQ(inputs(), first);
  fwFindMidiSourceEndpoint(first[1]);
  EXPECT_EQ(midisystem::totalCallCount(), 0u) << "cached listing queried the system";
  virtualmidi::renameDevice("Old", std::string("New"));
  EXPECT_EQ(inputs()[0].first, "Old Port 1");  // nothing told the Xtra yet
  midisystem::runRunLoop(0);
  EXPECT_EQ(inputs()[0].first, "New Port 1");
}

TEST_F(EndpointDirectoryTest, OlderEntryResolvesWhileItsNamesHoldAndNotOnceItsDeviceIsGone) {
  use({{device("Keys", {entityWith("Keys", {"Keys"})})}});
  const DeviceListEntry keys = inputs()[0];
  const MIDIEndpointRef endpoint = fwFindMidiSourceEndpoint(keys);
  ASSERT_NE(endpoint, 0u);

  // Another device ahead in the order does not disturb the identifier.
  virtualmidi::addDevice(device("Pads", {entityWith("Pads", {"Pads"})}));
  midisystem::runRunLoop(0);
  EXPECT_EQ(fwFindMidiSourceEndpoint(keys), endpoint);

  // A second "Keys" comes later, so the first keeps duplicate index 0 and still resolves.
  virtualmidi::addDevice(device("Keys", {entityWith("Keys", {"Keys"})}));
  midisystem::runRunLoop(0);
  EXPECT_EQ(fwFindMidiSourceEndpoint(keys), endpoint);
  const DeviceListEntry secondKeys = inputs()[2];
  ASSERT_EQ(secondKeys.second, "Keys,1%Keys,0%Keys,0");

  // Identifiers name a place among equal names, not an object: once the first "Keys" is gone,
  // the old entry reaches the other one, and the second's numbered entry reaches nothing.
  ASSERT_TRUE(virtualmidi::removeDevice("Keys"));
  midisystem::runRunLoop(0);
  const MIDIEndpointRef successor = fwFindMidiSourceEndpoint(keys);
  EXPECT_NE(successor, 0u);
  EXPECT_NE(successor, endpoint);
  EXPECT_EQ(fwFindMidiSourceEndpoint(secondKeys), 0u);

  ASSERT_TRUE(virtualmidi::removeDevice("Keys"));
  midisystem::runRunLoop(0);
  EXPECT_EQ(fwFindMidiSourceEndpoint(keys), 0u);
}

// The device-change notifications the Xtra's shared MIDI client passes on. That its objects
// share the one client until the last goes is checked by MacOsxTonvikTest's destruction test and
// the fault sweep's client census; that a failed creation is retried, by xtra_faults.ls.

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
