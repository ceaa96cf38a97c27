// The JACK backend end to end: a real jackd, peers that are real JACK clients, and the MIDI
// system's C API on the other side. Each test runs in a process of its own (ctest runs them one by
// one), so a test may choose its server before the MIDI system is first used.
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <jack/metadata.h>
#include <unistd.h>

#include <ctime>

#include "HostClock.h"
#include "JackTestSupport.h"
#include "MidiSystemControl.h"

namespace jacktest {
namespace {

TEST(JackDirectory, ClientsAreDevicesTheirPortsEndpointsAndOurPortsKeepTheirNames) {
  useServer();
  // JACK shows the server's ports to a client only: the MIDI system has one once ours exists.
  Listener first;
  Listener second;
  Peer peer("peer");
  ASSERT_TRUE(eventually([&] { return sourceOf("peer", "out") != 0; }));
  ASSERT_NE(destinationOf("peer", "in"), 0u);
  MIDIEntityRef entity = 0;
  MIDIDeviceRef device = 0;
  ASSERT_EQ(MIDIEndpointGetEntity(sourceOf("peer", "out"), &entity), noErr);
  ASSERT_EQ(MIDIEntityGetDevice(entity, &device), noErr);
  EXPECT_EQ(MIDIDeviceGetNumberOfEntities(device), 2u);

  Probe probe;
  EXPECT_EQ(objectName(first.input), "in");
  EXPECT_EQ(objectName(second.input), "in");  // the MIDI system's name; JACK numbers it
  for (const char* name : {"listener:in", "listener:in 2", "listener:out", "listener:out 2"}) {
    EXPECT_NE(jack_port_by_name(probe.client, name), nullptr) << name;
  }
  // Our own ports are never endpoints.
  EXPECT_EQ(sourceOf(kListenerName, "out"), 0u);
  EXPECT_EQ(destinationOf(kListenerName, "in"), 0u);
}

// The JACK client lives while a client of the MIDI system does, under the oldest one's name.
TEST(JackDirectory, OurJackClientIsNamedAfterTheMidiClientItServes) {
  useServer();
  // A probe of its own for each look: PipeWire's libjack goes on answering a closed client's
  // name to a client that saw it open.
  const auto jackClientExists = [](const char* name) {
    Probe probe;
    char* uuid = jack_get_uuid_for_client_name(probe.client, name);
    jack_free(uuid);
    return uuid != nullptr;
  };
  for (const char* name : {"first", "second"}) {
    MIDIClientRef client = 0;
    CFStringRef text = jacktest::text(name);
    ASSERT_EQ(MIDIClientCreate(text, nullptr, nullptr, &client), noErr);
    CFRelease(text);
    EXPECT_EQ(objectName(client), name);
    EXPECT_TRUE(eventually([&] { return jackClientExists(name); })) << name;
    ASSERT_EQ(MIDIClientDispose(client), noErr);
    EXPECT_TRUE(eventually([&] { return !jackClientExists(name); })) << name;
  }
}

// Pretty names live in JACK's metadata, which PipeWire keeps only with a session manager.
TEST(JackDirectory, APrettyNameRenamesTheEndpointAndItsRemovalGivesTheNameBack) {
  useServer();
  Peer peer("peer");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return sourceOf("peer", "out") != 0; }));
  Probe probe;
  jack_port_t* out = jack_port_by_name(probe.client, peer.outName().c_str());
  const jack_uuid_t uuid = jack_port_uuid(out);
  ASSERT_EQ(jack_set_property(probe.client, uuid, JACK_METADATA_PRETTY_NAME, "Keys", nullptr), 0);
  EXPECT_TRUE(eventually([&] { return sourceOf("peer", "Keys") != 0; }));
  // A name outside ASCII reads as empty.
  ASSERT_EQ(jack_set_property(probe.client, uuid, JACK_METADATA_PRETTY_NAME, "Cl\xC3\xA9", nullptr),
            0);
  EXPECT_TRUE(eventually([&] { return sourceOf("peer", "") != 0; }));
  jack_remove_property(probe.client, uuid, JACK_METADATA_PRETTY_NAME);
  EXPECT_TRUE(eventually([&] { return sourceOf("peer", "out") != 0; }));
}

// jack_midiseq's notes reaching a script are run by window/session.ls.
TEST(JackReceive, EachEventOfAPeerIsOnePacketInOrder) {
  useServer();
  Peer peer("sender");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return sourceOf("sender", "out") != 0; }));
  ASSERT_EQ(MIDIPortConnectSource(listener.input, sourceOf("sender", "out"), nullptr), noErr);
  EXPECT_TRUE(Probe().connected(peer.outName(), "listener:in"));

  const std::vector<std::vector<Byte>> sent = {{0x90, 0x3C, 0x64}, sysexOf(3000), {0xF8}};
  for (const auto& event : sent) peer.send(event);
  EXPECT_TRUE(eventually([&] { return listener.inbox.taken().size() >= sent.size(); }));
  EXPECT_EQ(listener.inbox.taken(), sent);

  // Disconnected, nothing more arrives.
  ASSERT_EQ(MIDIPortDisconnectSource(listener.input, sourceOf("sender", "out")), noErr);
  peer.send({0x90, 0x3D, 0x64});
  usleep(50000);
  EXPECT_EQ(listener.inbox.taken().size(), sent.size());
}

TEST(JackSend, EachMessageIsOneEventToTheChosenDestinationOnly) {
  useServer();
  Peer chosen("chosen");
  Peer other("other");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return destinationOf("chosen", "in") != 0; }));
  ASSERT_TRUE(eventually([&] { return destinationOf("other", "in") != 0; }));
  listener.send(destinationOf("chosen", "in"), {0x90, 0x3C, 0x64, 0x80, 0x3C, 0x00, 0xC0, 0x05});
  const std::vector<std::vector<Byte>> expected = {
      {0x90, 0x3C, 0x64}, {0x80, 0x3C, 0x00}, {0xC0, 0x05}};
  EXPECT_TRUE(eventually([&] { return chosen.received().size() >= expected.size(); }));
  EXPECT_EQ(chosen.received(), expected);
  EXPECT_TRUE(other.received().empty());
  EXPECT_TRUE(Probe().connected("listener:out", chosen.inName()));

  // The port follows the destination it sends to.
  listener.send(destinationOf("other", "in"), {0xC0, 0x06});
  EXPECT_TRUE(eventually([&] { return other.received().size() == 1; }));
  EXPECT_EQ(chosen.received().size(), expected.size());
}

TEST(JackSend, ALaterTimeStampPlaysInItsPeriodAndFrame) {
  useServer();
  Peer peer("timed");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return destinationOf("timed", "in") != 0; }));
  const MIDIEndpointRef destination = destinationOf("timed", "in");
  listener.send(destination, {0xC0, 0x01});  // connects the port first
  ASSERT_TRUE(eventually([&] { return peer.received().size() == 1; }));

  // JACK's clock against the host's, as the backend reads them.
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const std::int64_t offset =
      (static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec) / 1000 -
      static_cast<std::int64_t>(jack_get_time());
  const MIDITimeStamp due = coremidi::hostTimeNow() + coremidi::nanosToHostTime(150'000'000);
  listener.send(destination, {0x90, 0x40, 0x64}, due);
  listener.send(destination, {0xC0, 0x02});  // sent later, due now: goes first
  ASSERT_TRUE(eventually([&] { return peer.received().size() == 3; }));
  EXPECT_EQ(peer.received()[1], (std::vector<Byte>{0xC0, 0x02}));
  EXPECT_EQ(peer.received()[2], (std::vector<Byte>{0x90, 0x40, 0x64}));

  const auto dueMicros = static_cast<std::int64_t>(coremidi::hostTimeToNanos(due) / 1000) - offset;
  const auto playedMicros = static_cast<std::int64_t>(peer.receivedAt()[2]);
  // Within a period either way (plus a little: the two clocks were read a little apart), since
  // the peer may run before or after us in the period.
  Probe probe;
  const double periodMicros =
      1e6 * jack_get_buffer_size(probe.client) / jack_get_sample_rate(probe.client);
  EXPECT_NEAR(playedMicros, dueMicros, periodMicros + 700);
}

// Notifications of a client created on this thread, by kind.
struct Watcher {
  std::vector<MIDINotificationMessageID> seen;
  static void notify(const MIDINotification* message, void* self) {
    static_cast<Watcher*>(self)->seen.push_back(message->messageID);
  }
  bool saw(MIDINotificationMessageID id) {
    return std::find(seen.begin(), seen.end(), id) != seen.end();
  }
};

bool runLoopUntil(const std::function<bool()>& condition) {
  return eventually([&] {
    midisystem::runRunLoop(0.01);
    return condition();
  });
}

TEST(JackHotPlug, PortsThatComeAndGoAreAnnouncedAndCannotBeConnectedOnceGone) {
  useServer();
  Watcher watcher;
  MIDIClientRef client = 0;
  CFStringRef name = text("watcher");
  ASSERT_EQ(MIDIClientCreate(name, Watcher::notify, &watcher, &client), noErr);
  CFRelease(name);
  Listener listener;
  MIDIEndpointRef source = 0;
  {
    Peer peer("transient");
    EXPECT_TRUE(runLoopUntil([&] { return watcher.saw(kMIDIMsgSetupChanged); }));
    EXPECT_TRUE(watcher.saw(kMIDIMsgObjectAdded));
    source = sourceOf("transient", "out");
    EXPECT_NE(source, 0u);
    watcher.seen.clear();
  }
  EXPECT_TRUE(runLoopUntil([&] { return watcher.saw(kMIDIMsgObjectRemoved); }));
  EXPECT_EQ(sourceOf("transient", "out"), 0u);
  EXPECT_NE(MIDIPortConnectSource(listener.input, source, nullptr), noErr);
  MIDIClientDispose(client);
}

// What the backend says goes through the MIDI system's diagnostics, once however often a client
// is refused.
TEST(JackServerLife, NoServerRefusesTheClientAndSaysSoOnce) {
  const std::string server = "tonvik-absent-" + std::to_string(getpid());
  setenv("JACK_NO_START_SERVER", "1", 1);
  setenv("JACK_DEFAULT_SERVER", server.c_str(), 1);
  ASSERT_TRUE(midisystem::selectBackend("jack"));
  std::vector<std::string> lines;
  midisystem::setDiagnosticSink([&](const std::string& line) { lines.push_back(line); });
  CFStringRef name = text("test");
  for (int attempt = 0; attempt < 2; ++attempt) {
    MIDIClientRef client = 0;
    EXPECT_EQ(MIDIClientCreate(name, nullptr, nullptr, &client), kMIDIServerStartErr);
  }
  CFRelease(name);
  midisystem::setDiagnosticSink({});
  EXPECT_EQ(MIDIGetNumberOfSources(), 0u);
  EXPECT_EQ(lines, std::vector<std::string>{"JACK backend: the JACK server \"" + server +
                                            "\" is not running; start it (for example \"jackd -d "
                                            "dummy\") and call Init again."});
}

TEST(JackServerLife, PortsGoWithTheServerAndComeBackWithTheNextOne) {
  useServer(true);
  // Never closed: once its server is gone, libjack cannot close a second client of a process
  // safely. Kept reachable, so it is not a leak.
  static Peer* const doomed = new Peer("doomed");
  (void)doomed;
  Listener listener;
  ASSERT_TRUE(eventually([&] { return destinationOf("doomed", "in") != 0; }));
  const MIDIEndpointRef gone = destinationOf("doomed", "in");
  server().stop();
  EXPECT_TRUE(eventually([] { return MIDIGetNumberOfDestinations() == 0; }));
  EXPECT_EQ(MIDIGetNumberOfSources(), 0u);
  // Sends to what went away fail; new ports cannot be made without a server.
  alignas(8) Byte storage[64];
  auto* list = reinterpret_cast<MIDIPacketList*>(storage);
  const Byte note[] = {0x90, 0x3C, 0x64};
  MIDIPacketListAdd(list, sizeof storage, MIDIPacketListInit(list), 0, 3, note);
  EXPECT_NE(MIDISend(listener.output, gone, list), noErr);
  MIDIPortRef port = 0;
  EXPECT_NE(MIDIOutputPortCreate(listener.client, nullptr, &port), noErr);

  ASSERT_TRUE(server().start(true));
  Peer peer("after");
  ASSERT_TRUE(eventually([&] { return sourceOf("after", "out") != 0; }));
  // Our ports were made again on the new server.
  ASSERT_EQ(MIDIPortConnectSource(listener.input, sourceOf("after", "out"), nullptr), noErr);
  // Again until it arrives: JACK drops a period while it changes its graph.
  EXPECT_TRUE(eventually([&] {
    peer.send({0xB0, 0x07, 0x7F});
    usleep(20000);
    return listener.inbox.has({0xB0, 0x07, 0x7F});
  }));
}

}  // namespace
}  // namespace jacktest
