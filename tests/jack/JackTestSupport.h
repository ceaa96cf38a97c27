// Endpoints by JACK client and port, clients of the MIDI system, and JACK clients of the test's
// own: one that records what reaches it and sends what it is given, one that asks JACK questions.
#pragma once

#include <jack/jack.h>

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "JackServerRig.h"
#include "MidiServices.h"

namespace jacktest {

using Events = std::vector<std::vector<Byte>>;

// True once `condition` holds; false after a while that only a broken backend takes.
bool eventually(const std::function<bool()>& condition);

// Every test: this process's server (the one JACK_DEFAULT_SERVER names, or of its own), and the
// JACK backend.
void useServer();

// A client of the MIDI system; 0 if it cannot be made.
MIDIClientRef clientNamed(const char* name);
// F0, bytes counting up from 1 (modulo 128), F7: `length` bytes in all.
std::vector<Byte> sysexOf(std::size_t length);

// The endpoint of a port of another JACK client: its device is the client, and it is named after
// the port. 0 when there is none.
MIDIEndpointRef sourceOf(const std::string& client, const std::string& port);
MIDIEndpointRef destinationOf(const std::string& client, const std::string& port);

// Messages that reached an input, copied on JACK's process thread.
struct Inbox {
  std::mutex mutex;
  Events packets;

  void add(const Byte* bytes, std::size_t size);
  // A read procedure: each packet one message.
  static void read(const MIDIPacketList* list, void* self, void*);
  Events taken() {
    std::lock_guard lock(mutex);
    return packets;
  }
};

// A client of the MIDI system with one input and one output port. In JACK its client is
// "listener" (for the first listener: later ones share it), its ports "in" and "out", then
// "in 2" and "out 2", and so on. Pinned by its inbox's mutex: the read procedure holds its address.
inline constexpr const char* kListenerName = "listener";
struct Listener {
  MIDIClientRef client = 0;
  MIDIPortRef input = 0;
  MIDIPortRef output = 0;
  Inbox inbox;

  Listener();
  ~Listener() { MIDIClientDispose(client); }
  void send(MIDIEndpointRef destination, const std::vector<Byte>& bytes, MIDITimeStamp at = 0);
};

// A system-exclusive request that knows when it is complete; pinned by its flag, as the MIDI
// system holds its address.
struct SysexRequest {
  SysexRequest(MIDIEndpointRef destination, std::vector<Byte> message);
  std::vector<Byte> bytes;
  std::atomic<bool> completed{false};
  MIDISysexSendRequest request{};
};

// A client of the test's own, for what only JACK can tell.
struct Probe {
  jack_client_t* client = nullptr;
  Probe();
  ~Probe() {
    if (client) jack_client_close(client);
  }
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;
  bool connected(const std::string& from, const std::string& to);
};

// A JACK client with one MIDI input "in" and one output "out"; pinned by its mutex, as the
// process callback holds its address.
class Peer {
 public:
  explicit Peer(const std::string& clientName);
  ~Peer();
  std::string inName() const { return jack_port_name(in_); }
  std::string outName() const { return jack_port_name(out_); }
  // Queued for the next period, as one event.
  void send(const std::vector<Byte>& event);
  // Every event received so far, one vector each.
  Events received() {
    std::lock_guard lock(mutex_);
    return events_;
  }
  // JACK's time (microseconds) of each received event's frame.
  std::vector<jack_time_t> receivedAt() {
    std::lock_guard lock(mutex_);
    return times_;
  }

 private:
  static int process(jack_nframes_t frames, void* self);
  jack_client_t* client_ = nullptr;
  jack_port_t* in_ = nullptr;
  jack_port_t* out_ = nullptr;
  // Taken by the process thread for a moment each period.
  std::mutex mutex_;
  Events events_;
  std::vector<jack_time_t> times_;
  std::deque<std::vector<Byte>> outbound_;
};

// The endpoint of `client`:in, once listed, with our output connected to it: a clock tick goes
// until `peer` has one (a loaded machine may drop the first). 0 if it never gets one.
MIDIEndpointRef connectedDestination(Listener& listener, Peer& peer, const std::string& client);

}  // namespace jacktest
