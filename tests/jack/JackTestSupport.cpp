#include "JackTestSupport.h"

#include <gtest/gtest.h>
#include <jack/midiport.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "JackTsan.h"
#include "MidiSystemControl.h"

namespace jacktest {
namespace {

// Generous: only a broken backend ever waits this long.
constexpr auto kPatience = std::chrono::seconds(10);
constexpr auto kPollStep = std::chrono::milliseconds(5);
constexpr auto kSettle = std::chrono::milliseconds(20);

CFStringRef text(const char* value) {
  return CFStringCreateWithCString(kCFAllocatorDefault, value, kCFStringEncodingASCII);
}

// Empty when the object has no name.
std::string objectName(MIDIObjectRef object) {
  CFStringRef name = nullptr;
  if (MIDIObjectGetStringProperty(object, kMIDIPropertyName, &name) != noErr || !name) return {};
  char text[512] = {};
  CFStringGetCString(name, text, sizeof text, kCFStringEncodingASCII);
  CFRelease(name);
  return text;
}

MIDIEndpointRef endpointOf(const std::string& client, const std::string& port, ItemCount (*count)(),
                           MIDIEndpointRef (*at)(ItemCount)) {
  for (ItemCount i = 0; i < count(); ++i) {
    MIDIEntityRef entity = 0;
    MIDIDeviceRef device = 0;
    if (MIDIEndpointGetEntity(at(i), &entity) != noErr ||
        MIDIEntityGetDevice(entity, &device) != noErr) {
      continue;
    }
    if (objectName(device) == client && objectName(at(i)) == port) return at(i);
  }
  return 0;
}

}  // namespace

bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(kPollStep);
  }
  return true;
}

void useServer() {
  static jackrig::JackServer server(JACKD_PROGRAM);
  ASSERT_TRUE(server.start()) << "no JACK server";
  ASSERT_TRUE(midisystem::selectBackend("jack"));
}

MIDIClientRef clientNamed(const char* name) {
  CFStringRef made = text(name);
  MIDIClientRef client = 0;
  EXPECT_EQ(MIDIClientCreate(made, nullptr, nullptr, &client), noErr) << name;
  CFRelease(made);
  return client;
}

std::vector<Byte> sysexOf(std::size_t length) {
  std::vector<Byte> bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<Byte>(i % 0x80);
  bytes.front() = 0xF0;
  bytes.back() = 0xF7;
  return bytes;
}

void Inbox::add(const Byte* bytes, std::size_t size) {
  std::lock_guard lock(mutex);
  packets.emplace_back(bytes, bytes + size);
}

void Inbox::read(const MIDIPacketList* list, void* self, void*) {
  const MIDIPacket* packet = list->packet;
  for (UInt32 i = 0; i < list->numPackets; ++i, packet = MIDIPacketNext(packet)) {
    static_cast<Inbox*>(self)->add(packet->data, packet->length);
  }
}

Listener::Listener() : client(clientNamed(kListenerName)) {
  CFStringRef in = text("in");
  CFStringRef out = text("out");
  EXPECT_EQ(MIDIInputPortCreate(client, in, Inbox::read, &inbox, &input), noErr);
  EXPECT_EQ(MIDIOutputPortCreate(client, out, &output), noErr);
  CFRelease(in);
  CFRelease(out);
}

void Listener::send(MIDIEndpointRef destination, const std::vector<Byte>& bytes, MIDITimeStamp at) {
  alignas(8) Byte storage[1024];
  auto* list = reinterpret_cast<MIDIPacketList*>(storage);
  MIDIPacket* packet = MIDIPacketListInit(list);
  MIDIPacketListAdd(list, sizeof storage, packet, at, bytes.size(), bytes.data());
  ASSERT_EQ(MIDISend(output, destination, list), noErr);
}

MIDIEndpointRef connectedDestination(Listener& listener, Peer& peer, const std::string& client) {
  if (!eventually([&] { return destinationOf(client, "in") != 0; })) return 0;
  const MIDIEndpointRef destination = destinationOf(client, "in");
  const bool connected = eventually([&] {
    listener.send(destination, {0xF8});
    std::this_thread::sleep_for(kSettle);
    return !peer.received().empty();
  });
  std::this_thread::sleep_for(kSettle);  // a tick still on its way arrives now
  return connected ? destination : 0;
}

SysexRequest::SysexRequest(MIDIEndpointRef destination, std::vector<Byte> message)
    : bytes(std::move(message)) {
  request.destination = destination;
  request.data = bytes.data();
  request.bytesToSend = static_cast<UInt32>(bytes.size());
  request.completionProc = [](MIDISysexSendRequest* done) {
    static_cast<SysexRequest*>(done->completionRefCon)->completed.store(true);
  };
  request.completionRefCon = this;
}

Probe::Probe() {
  jack_status_t status{};
  client = jack_client_open("probe", JackNoStartServer, &status);
}

bool Probe::connected(const std::string& from, const std::string& to) {
  jack_port_t* port = jack_port_by_name(client, from.c_str());
  return port && jack_port_connected_to(port, to.c_str());
}

MIDIEndpointRef sourceOf(const std::string& client, const std::string& port) {
  return endpointOf(client, port, MIDIGetNumberOfSources, MIDIGetSource);
}

MIDIEndpointRef destinationOf(const std::string& client, const std::string& port) {
  return endpointOf(client, port, MIDIGetNumberOfDestinations, MIDIGetDestination);
}

Peer::Peer(const std::string& clientName) {
  jack_status_t status{};
  client_ = jack_client_open(clientName.c_str(), JackNoStartServer, &status);
  if (!client_) throw std::runtime_error("cannot open the peer client");
  in_ = jack_port_register(client_, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
  out_ = jack_port_register(client_, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  jack_set_process_callback(client_, process, this);
  jack_activate(client_);
}

Peer::~Peer() {
  jack_deactivate(client_);
  jack_client_close(client_);
}

void Peer::send(const std::vector<Byte>& event) {
  std::lock_guard lock(mutex_);
  outbound_.push_back(event);
}

int Peer::process(jack_nframes_t frames, void* self) {
  auto* peer = static_cast<Peer*>(self);
  std::lock_guard lock(peer->mutex_);
  void* in = jack_port_get_buffer(peer->in_, frames);
  TONVIK_JACK_BUFFER_TAKEN(in);
  for (jack_nframes_t i = 0; i < jack_midi_get_event_count(in); ++i) {
    jack_midi_event_t event;
    if (jack_midi_event_get(&event, in, i) != 0) continue;
    peer->events_.emplace_back(event.buffer, event.buffer + event.size);
    peer->times_.push_back(
        jack_frames_to_time(peer->client_, jack_last_frame_time(peer->client_) + event.time));
  }
  TONVIK_JACK_BUFFER_DONE(in);
  void* out = jack_port_get_buffer(peer->out_, frames);
  TONVIK_JACK_BUFFER_TAKEN(out);
  jack_midi_clear_buffer(out);
  // What this period's buffer cannot take goes in the next.
  for (; !peer->outbound_.empty(); peer->outbound_.pop_front()) {
    const std::vector<Byte>& event = peer->outbound_.front();
    if (jack_midi_event_write(out, 0, event.data(), event.size()) != 0) break;
  }
  TONVIK_JACK_BUFFER_DONE(out);
  return 0;
}

}  // namespace jacktest
