// A private JACK server for the tests, peer programs started and stopped by PID, and a JACK
// client of the test's own that records what reaches it and sends what it is given.
#pragma once

#include <jack/jack.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "ByteRing.h"
#include "MidiServices.h"

namespace jacktest {

// Generous: only a broken backend ever waits this long.
inline constexpr auto kPatience = std::chrono::seconds(10);

bool eventually(const std::function<bool()>& condition);

// A program run as a child, stopped by SIGTERM to its PID. Its output goes to `outputFile`.
class Child {
 public:
  Child(const std::vector<std::string>& arguments, const std::string& outputFile = "/dev/null");
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  void stop();
  // False once the program has ended.
  bool running();

 private:
  pid_t pid_ = -1;
};

// jackd on its dummy driver. Its name is the first of a few fixed ones that no running server
// has: libjack's registry of servers never frees the entry of a server that died unannounced
// except for a new server of the same name, so fresh names would fill it up for good.
class JackServer {
 public:
  // Also points this process's clients at it, and forbids them to start a server of their own.
  void start();
  void stop();

 private:
  bool startNamed(const std::string& name);
  std::string name_;
  std::unique_ptr<Child> child_;
};
JackServer& server();

// An endpoint of the MIDI system by its name; 0 when there is none.
MIDIEndpointRef sourceNamed(const std::string& name);
MIDIEndpointRef destinationNamed(const std::string& name);

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
};

}  // namespace jacktest
