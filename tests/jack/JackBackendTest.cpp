// The JACK backend end to end: a private jackd, peers that are real JACK clients, and the MIDI
// system's C API on the other side.
#include <gtest/gtest.h>
#include <jack/jack.h>

#include <unistd.h>
#include <fstream>
#include <mutex>
#include <numeric>
#include <sstream>

#include "JackTestSupport.h"
#include "MidiSystemControl.h"

namespace jacktest {
namespace {

constexpr const char* kOwnClient = "Tonvik Xtra";

class JackEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    server().start();
    ASSERT_TRUE(midisystem::selectBackend("jack"));
  }
  void TearDown() override { server().stop(); }
};
[[maybe_unused]] auto* const environment = ::testing::AddGlobalTestEnvironment(new JackEnvironment);

CFStringRef text(const char* value) {
  return CFStringCreateWithCString(kCFAllocatorDefault, value, kCFStringEncodingASCII);
}

// Packets that reached an input port, copied on the receive thread.
struct Inbox {
  std::mutex mutex;
  std::vector<std::vector<Byte>> packets;

  static void read(const MIDIPacketList* list, void* self, void*) {
    auto* inbox = static_cast<Inbox*>(self);
    std::lock_guard lock(inbox->mutex);
    const MIDIPacket* packet = list->packet;
    for (UInt32 i = 0; i < list->numPackets; ++i) {
      inbox->packets.emplace_back(packet->data, packet->data + packet->length);
      packet = MIDIPacketNext(packet);
    }
  }
  bool has(const std::vector<Byte>& wanted) {
    std::lock_guard lock(mutex);
    return std::find(packets.begin(), packets.end(), wanted) != packets.end();
  }
  std::vector<Byte> joined() {
    std::lock_guard lock(mutex);
    std::vector<Byte> all;
    for (const auto& packet : packets) all.insert(all.end(), packet.begin(), packet.end());
    return all;
  }
};

// A client with an input port listening to `source`, and an output port.
struct Listener {
  MIDIClientRef client = 0;
  MIDIPortRef input = 0;
  MIDIPortRef output = 0;
  Inbox inbox;

  Listener() {
    CFStringRef name = text("test");
    MIDIClientCreate(name, nullptr, nullptr, &client);
    MIDIInputPortCreate(client, name, Inbox::read, &inbox, &input);
    MIDIOutputPortCreate(client, name, &output);
    CFRelease(name);
  }
  ~Listener() { MIDIClientDispose(client); }
};

std::vector<Byte> sysexOf(std::size_t length) {
  std::vector<Byte> bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<Byte>(i % 0x80);
  bytes.front() = 0xF0;
  bytes.back() = 0xF7;
  return bytes;
}

void sendPacket(const Listener& listener, MIDIEndpointRef destination,
                const std::vector<Byte>& bytes) {
  alignas(8) Byte storage[1024];
  auto* list = reinterpret_cast<MIDIPacketList*>(storage);
  MIDIPacket* packet = MIDIPacketListInit(list);
  MIDIPacketListAdd(list, sizeof storage, packet, 0, bytes.size(), bytes.data());
  ASSERT_EQ(MIDISend(listener.output, destination, list), noErr);
}

std::vector<Byte> joinedEvents(Peer& peer) {
  std::vector<Byte> all;
  for (const auto& event : peer.received()) all.insert(all.end(), event.begin(), event.end());
  return all;
}

TEST(JackDirectory, OtherClientsPortsAreEndpointsAndOwnPortsMirrorThem) {
  Peer peer("peer");
  ASSERT_TRUE(eventually([&] { return sourceNamed(peer.outName()) != 0; }));
  ASSERT_TRUE(eventually([&] { return destinationNamed(peer.inName()) != 0; }));

  for (ItemCount i = 0; i < MIDIGetNumberOfSources(); ++i) {
    CFStringRef name = nullptr;
    MIDIObjectGetStringProperty(MIDIGetSource(i), kMIDIPropertyName, &name);
    char buffer[512] = {};
    CFStringGetCString(name, buffer, sizeof buffer, kCFStringEncodingASCII);
    CFRelease(name);
    EXPECT_NE(std::string(buffer).rfind(kOwnClient, 0), 0u) << "own port listed: " << buffer;
  }
  // The mirrors are connected to the peer's ports, one each, under ':'-free names.
  jack_status_t status{};
  jack_client_t* probe = jack_client_open("probe", JackNoStartServer, &status);
  ASSERT_NE(probe, nullptr);
  jack_port_t* from = jack_port_by_name(probe, "Tonvik Xtra:from peer/out");
  jack_port_t* to = jack_port_by_name(probe, "Tonvik Xtra:to peer/in");
  ASSERT_NE(from, nullptr);
  ASSERT_NE(to, nullptr);
  EXPECT_TRUE(jack_port_connected_to(from, peer.outName().c_str()));
  EXPECT_TRUE(jack_port_connected_to(to, peer.inName().c_str()));
  jack_client_close(probe);
}

TEST(JackReceive, ShortMessagesAndSysexFromAPeerReachTheReadProcedure) {
  Peer peer("sender");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return sourceNamed(peer.outName()) != 0; }));
  ASSERT_EQ(MIDIPortConnectSource(listener.input, sourceNamed(peer.outName()), nullptr), noErr);

  const std::vector<Byte> sysex = sysexOf(3000);
  peer.send({0x90, 0x3C, 0x64});
  peer.send(sysex);
  peer.send({0xF8});
  EXPECT_TRUE(eventually([&] { return listener.inbox.has({0x90, 0x3C, 0x64}); }));
  EXPECT_TRUE(eventually([&] { return listener.inbox.has(sysex); }));
  EXPECT_TRUE(eventually([&] { return listener.inbox.has({0xF8}); }));
}

TEST(JackReceive, NotesOfJackMidiseqArrive) {
  Child sequencer({JACK_MIDISEQ_PROGRAM, "seq", "24000", "0", "60", "100"});
  Listener listener;
  ASSERT_TRUE(eventually([] { return sourceNamed("seq:out") != 0; }));
  ASSERT_EQ(MIDIPortConnectSource(listener.input, sourceNamed("seq:out"), nullptr), noErr);
  EXPECT_TRUE(eventually([&] { return listener.inbox.has({0x90, 0x3C, 0x40}); }));
  EXPECT_TRUE(eventually([&] { return listener.inbox.has({0x80, 0x3C, 0x40}); }));
}

TEST(JackSend, EachMessageOfAPacketIsOneEventToTheChosenDestinationOnly) {
  Peer chosen("chosen");
  Peer other("other");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return destinationNamed(chosen.inName()) != 0; }));
  ASSERT_TRUE(eventually([&] { return destinationNamed(other.inName()) != 0; }));
  sendPacket(listener, destinationNamed(chosen.inName()),
             {0x90, 0x3C, 0x64, 0x80, 0x3C, 0x00, 0xC0, 0x05});
  const std::vector<std::vector<Byte>> expected = {
      {0x90, 0x3C, 0x64}, {0x80, 0x3C, 0x00}, {0xC0, 0x05}};
  EXPECT_TRUE(eventually([&] { return chosen.received().size() >= expected.size(); }));
  EXPECT_EQ(chosen.received(), expected);
  EXPECT_TRUE(other.received().empty());
}

TEST(JackSend, LongSysexArrivesWholeInOrderAcrossPeriods) {
  Peer peer("sink");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return destinationNamed(peer.inName()) != 0; }));
  // Larger than one period's port buffer, so it needs several periods.
  const std::vector<Byte> sysex = sysexOf(100000);
  std::atomic<bool> completed{false};
  MIDISysexSendRequest request{};
  request.destination = destinationNamed(peer.inName());
  request.data = sysex.data();
  request.bytesToSend = static_cast<UInt32>(sysex.size());
  request.completionProc = [](MIDISysexSendRequest* done) {
    static_cast<std::atomic<bool>*>(done->completionRefCon)->store(true);
  };
  request.completionRefCon = &completed;
  ASSERT_EQ(MIDISendSysex(&request), noErr);
  EXPECT_TRUE(eventually([&] { return completed.load(); }));
  EXPECT_TRUE(eventually([&] { return joinedEvents(peer).size() >= sysex.size(); }));
  EXPECT_EQ(joinedEvents(peer), sysex);
}

TEST(JackSend, JackMidiDumpPrintsWhatWasSent) {
  const std::string dumpFile = testing::TempDir() + "tonvik-dump-" + std::to_string(getpid());
  Child dump({JACK_MIDI_DUMP_PROGRAM}, dumpFile);
  Listener listener;
  ASSERT_TRUE(eventually([] { return destinationNamed("midi-monitor:input") != 0; }));
  sendPacket(listener, destinationNamed("midi-monitor:input"), {0x90, 0x3C, 0x64});
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  std::string printed;
  eventually([&] {
    std::ifstream file(dumpFile);
    std::stringstream all;
    all << file.rdbuf();
    printed = all.str();
    return printed.find("90 3c 64") != std::string::npos;
  });
  EXPECT_NE(printed.find("90 3c 64 note on"), std::string::npos) << printed;
}

// Notifications of a client created on this thread, counted by kind.
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

TEST(JackHotPlug, PortsThatComeAndGoAreAnnouncedAndForgotten) {
  Watcher watcher;
  MIDIClientRef client = 0;
  CFStringRef name = text("watcher");
  ASSERT_EQ(MIDIClientCreate(name, Watcher::notify, &watcher, &client), noErr);
  CFRelease(name);
  std::string destination;
  {
    Peer peer("transient");
    destination = peer.inName();
    EXPECT_TRUE(runLoopUntil([&] { return watcher.saw(kMIDIMsgObjectAdded); }));
    EXPECT_NE(destinationNamed(destination), 0u);
  }
  EXPECT_TRUE(runLoopUntil([&] { return watcher.saw(kMIDIMsgObjectRemoved); }));
  EXPECT_TRUE(eventually([&] { return destinationNamed(destination) == 0; }));
  MIDIClientDispose(client);
}

TEST(JackServerLife, EndpointsGoWithTheServerAndComeBackWithTheNextOne) {
  {
    Peer peer("before");
    ASSERT_TRUE(eventually([&] { return sourceNamed(peer.outName()) != 0; }));
  }
  // Never closed: once its server is gone, libjack cannot close a second client of a process
  // safely. Kept reachable, so it is not a leak.
  static Peer* const doomed = new Peer("doomed");
  (void)doomed;
  ASSERT_TRUE(eventually([&] { return sourceNamed("doomed:out") != 0; }));
  server().stop();
  EXPECT_TRUE(eventually([] { return MIDIGetNumberOfSources() == 0; }));
  EXPECT_EQ(MIDIGetNumberOfDestinations(), 0u);

  server().start();
  Peer peer("after");
  Listener listener;
  ASSERT_TRUE(eventually([&] { return sourceNamed(peer.outName()) != 0; }));
  ASSERT_EQ(MIDIPortConnectSource(listener.input, sourceNamed(peer.outName()), nullptr), noErr);
  peer.send({0xB0, 0x07, 0x7F});
  EXPECT_TRUE(eventually([&] { return listener.inbox.has({0xB0, 0x07, 0x7F}); }));
}

}  // namespace
}  // namespace jacktest
