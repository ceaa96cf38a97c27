// Endpoints by JACK client and port, and a JACK client of the test's own that records what reaches
// it and sends what it is given.
#pragma once

#include <jack/jack.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "ByteRing.h"
#include "JackServerRig.h"
#include "MidiServices.h"

namespace jacktest {

// Generous: only a broken backend ever waits this long.
inline constexpr auto kPatience = std::chrono::seconds(10);

bool eventually(const std::function<bool()>& condition);

using jackrig::Child;
// This test process's server, from JACK_DEFAULT_SERVER or of its own.
jackrig::JackServer& server();

// The endpoint of a port of another JACK client: its device is the client, and it is named after
// the port. 0 when there is none.
MIDIEndpointRef sourceOf(const std::string& client, const std::string& port);
MIDIEndpointRef destinationOf(const std::string& client, const std::string& port);

// A JACK client with one MIDI input "in" and one output "out".
class Peer {
 public:
  explicit Peer(const std::string& clientName);
  ~Peer();
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  std::string inName() const;
  std::string outName() const;
  // Queued for the next period, as one event.
  void send(const std::vector<Byte>& event);
  // Every event received so far, one vector each; taken from the process thread's ring.
  std::vector<std::vector<Byte>> received();
  // JACK's time (microseconds) of each received event's frame.
  std::vector<jack_time_t> receivedAt();
  // The server went away; such a client may only be closed.
  bool orphaned() const { return orphaned_.load(); }

 private:
  static int process(jack_nframes_t frames, void* self);
  jack_client_t* client_ = nullptr;
  jack_port_t* in_ = nullptr;
  jack_port_t* out_ = nullptr;
  std::atomic<bool> orphaned_{false};
  jackmidi::ByteRing inbound_{1 << 20};
  jackmidi::ByteRing outbound_{1 << 16};
  std::vector<std::vector<Byte>> events_;
  std::vector<jack_time_t> times_;
};

}  // namespace jacktest
