// The JACK backend end to end: a real jackd, peers that are real JACK clients, and the MIDI
// system's C API on the other side. Each test runs in a process of its own (ctest runs them one by
// one), so a test may choose its server before the MIDI system is first used. Ports that come and
// go, a server that stops and comes back, and no server at all are run by the message-window
// scripts in window/.
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <jack/metadata.h>

#include <ctime>

#include "HostClock.h"
#include "JackTestSupport.h"

namespace jacktest {
namespace {

// A peer's ports are endpoints of a device named after it; ours keep their names and are never
// endpoints. Each event a peer plays is one packet, in order; each message sent is one event, to
// the chosen destination only, and at its time stamp's frame.
TEST(JackRoundTrip, PeersArePortsAndEachMessageIsOneEventEitherWay) {
  useServer();
  // JACK shows the server's ports to a client only: the MIDI system has one once ours exists.
  Listener first;
  Peer chosen("chosen");
  Peer other("other");
  ASSERT_TRUE(eventually([] { return sourceOf("chosen", "out") && destinationOf("other", "in"); }));
  const MIDIEndpointRef source = sourceOf("chosen", "out");
  MIDIEntityRef entity = 0;
  MIDIDeviceRef device = 0;
  ASSERT_EQ(MIDIEndpointGetEntity(source, &entity), noErr);
  ASSERT_EQ(MIDIEntityGetDevice(entity, &device), noErr);
  EXPECT_EQ(MIDIDeviceGetNumberOfEntities(device), 2u);
  Probe probe;
  // Numbered where a name is taken: window/sysex_sender.ls runs two instances' ports.
  for (const char* name : {"listener:in", "listener:out"}) {
    EXPECT_NE(jack_port_by_name(probe.client, name), nullptr) << name;
  }
  EXPECT_EQ(sourceOf(kListenerName, "out"), 0u);
  EXPECT_EQ(destinationOf(kListenerName, "in"), 0u);

  ASSERT_EQ(MIDIPortConnectSource(first.input, source, nullptr), noErr);
  EXPECT_TRUE(Probe().connected(chosen.outName(), "listener:in"));
  const Events played = {{0x90, 0x3C, 0x64}, sysexOf(3000), {0xF8}};
  for (const auto& event : played) chosen.send(event);
  EXPECT_TRUE(eventually([&] { return first.inbox.taken().size() >= played.size(); }));
  EXPECT_EQ(first.inbox.taken(), played);  // that nothing comes once disconnected: JackLifetime

  first.send(destinationOf("chosen", "in"), {0x90, 0x3C, 0x64, 0x80, 0x3C, 0x00, 0xC0, 0x05});
  const Events expected = {{0x90, 0x3C, 0x64}, {0x80, 0x3C, 0x00}, {0xC0, 0x05}};
  EXPECT_TRUE(eventually([&] { return chosen.received().size() >= expected.size(); }));
  EXPECT_EQ(chosen.received(), expected);
  EXPECT_TRUE(other.received().empty());
  EXPECT_TRUE(Probe().connected("listener:out", chosen.inName()));
  // The port follows the destination it sends to.
  const MIDIEndpointRef destination = destinationOf("other", "in");
  first.send(destination, {0xC0, 0x06});
  EXPECT_TRUE(eventually([&] { return other.received().size() == 1; }));
  EXPECT_EQ(chosen.received().size(), expected.size());

  // A later time stamp plays in its period and frame. JACK's clock against the host's, as the
  // backend reads them:
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const std::int64_t offset =
      (static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec) / 1000 -
      static_cast<std::int64_t>(jack_get_time());
  const MIDITimeStamp due = coremidi::hostTimeNow() + coremidi::nanosToHostTime(150'000'000);
  first.send(destination, {0x90, 0x40, 0x64}, due);
  first.send(destination, {0xC0, 0x02});  // sent later, due now: goes first
  ASSERT_TRUE(eventually([&] { return other.received().size() == 3; }));
  EXPECT_EQ(other.received()[1], (std::vector<Byte>{0xC0, 0x02}));
  EXPECT_EQ(other.received()[2], (std::vector<Byte>{0x90, 0x40, 0x64}));
  const auto dueMicros = static_cast<std::int64_t>(coremidi::hostTimeToNanos(due) / 1000) - offset;
  const auto playedMicros = static_cast<std::int64_t>(other.receivedAt()[2]);
  // Within a period either way (plus a little: the two clocks were read a little apart), since
  // the peer may run before or after us in the period.
  const double periodMicros =
      1e6 * jack_get_buffer_size(probe.client) / jack_get_sample_rate(probe.client);
  EXPECT_NEAR(playedMicros, dueMicros, periodMicros + 700);
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
    const MIDIClientRef client = clientNamed(name);
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
  const jack_uuid_t uuid = jack_port_uuid(jack_port_by_name(probe.client, peer.outName().c_str()));
  ASSERT_EQ(jack_set_property(probe.client, uuid, JACK_METADATA_PRETTY_NAME, "Keys", nullptr), 0);
  EXPECT_TRUE(eventually([&] { return sourceOf("peer", "Keys") != 0; }));
  // A name outside ASCII reads as empty.
  ASSERT_EQ(jack_set_property(probe.client, uuid, JACK_METADATA_PRETTY_NAME, "Cl\xC3\xA9", nullptr),
            0);
  EXPECT_TRUE(eventually([&] { return sourceOf("peer", "") != 0; }));
  jack_remove_property(probe.client, uuid, JACK_METADATA_PRETTY_NAME);
  EXPECT_TRUE(eventually([&] { return sourceOf("peer", "out") != 0; }));
}

}  // namespace
}  // namespace jacktest
