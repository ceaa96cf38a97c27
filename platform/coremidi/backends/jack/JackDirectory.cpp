// The client and the mirror of the other clients' MIDI ports. Runs on the backend's thread only:
// libjack answers no server request from its notification thread, and the process thread may not
// make any.
#include <jack/midiport.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <set>
#include <thread>

#include "JackBackend.h"
#include "MidiSystem.h"

namespace jackmidi {
namespace {

// Two whole cycles after a port left its slot, no process call can still hold it.
constexpr std::uint64_t kCyclesToForget = 2;
// A stalled server must not hang the thread: after this, the port is dropped regardless.
constexpr auto kCycleWait = std::chrono::milliseconds(200);
constexpr int kMaxNameRetries = 16;

std::string ownPortName(const std::string& peer, bool peerIsSource, int attempt) {
  // A ':' would be read as the client separator.
  std::string name = (peerIsSource ? "from " : "to ") + peer;
  for (char& c : name) {
    if (c == ':') c = '/';
  }
  const std::size_t limit = static_cast<std::size_t>(jack_port_name_size()) -
                            std::string(JackBackend::kClientName).size() - 16;
  if (name.size() > limit) name.resize(limit);
  if (attempt > 0) name += " #" + std::to_string(attempt + 1);
  return name;
}

}  // namespace

bool JackBackend::open() {
  jack_status_t status{};
  client_ = jack_client_open(kClientName, JackNoStartServer, &status);
  if (!client_) return false;
  serverGone_.store(false, std::memory_order_release);
  jack_set_process_callback(client_, process, this);
  jack_set_port_registration_callback(client_, portRegistered, this);
  jack_set_port_rename_callback(client_, portRenamed, this);
  jack_set_client_registration_callback(client_, clientRegistered, this);
  jack_on_info_shutdown(client_, serverShutDown, this);
  if (jack_activate(client_) != 0) {
    jack_client_close(client_);
    client_ = nullptr;
    return false;
  }
  // Ports that existed before activation are never announced.
  portsChanged_.store(false, std::memory_order_relaxed);
  synchronise();
  return true;
}

void JackBackend::close() {
  while (!sources_.empty()) removeMirror(sources_.begin()->first, true);
  while (!destinations_.empty()) removeMirror(destinations_.begin()->first, false);
  if (client_) {
    if (!serverGone_.load(std::memory_order_acquire)) jack_deactivate(client_);
    jack_client_close(client_);
    client_ = nullptr;
  }
}

void JackBackend::synchronise() {
  std::set<std::string> sourcesNow;
  std::set<std::string> destinationsNow;
  if (const char** names = jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, 0)) {
    for (const char** name = names; *name; ++name) {
      jack_port_t* port = jack_port_by_name(client_, *name);
      if (!port || jack_port_is_mine(client_, port)) continue;
      if (jack_port_flags(port) & JackPortIsOutput) {
        sourcesNow.insert(*name);
      } else {
        destinationsNow.insert(*name);
      }
    }
    jack_free(names);
  }
  auto follow = [&](std::map<std::string, Mirror>& known, const std::set<std::string>& now,
                    bool peerIsSource) {
    std::vector<std::string> gone;
    for (const auto& [peer, mirror] : known) {
      if (!now.contains(peer)) gone.push_back(peer);
    }
    for (const std::string& peer : gone) removeMirror(peer, peerIsSource);
    for (const std::string& peer : now) {
      if (!known.contains(peer)) addMirror(peer, peerIsSource);
    }
  };
  follow(sources_, sourcesNow, true);
  follow(destinations_, destinationsNow, false);
}

void JackBackend::addMirror(const std::string& peer, bool peerIsSource) {
  auto& own = peerIsSource ? ownInputs_ : ownOutputs_;
  std::size_t slot = 0;
  while (slot < kMaxPorts && own[slot]) ++slot;
  if (slot == kMaxPorts) {
    std::fprintf(stderr, "JACK backend: more than %zu MIDI ports; \"%s\" is left out.\n", kMaxPorts,
                 peer.c_str());
    return;
  }
  const unsigned long direction = peerIsSource ? JackPortIsInput : JackPortIsOutput;
  jack_port_t* port = nullptr;
  for (int attempt = 0; !port && attempt < kMaxNameRetries; ++attempt) {
    const std::string name = ownPortName(peer, peerIsSource, attempt);
    port = jack_port_register(client_, name.c_str(), JACK_DEFAULT_MIDI_TYPE, direction, 0);
  }
  if (!port) {
    std::fprintf(stderr, "JACK backend: cannot make a port for \"%s\"; it is left out.\n",
                 peer.c_str());
    return;
  }
  const char* ownName = jack_port_name(port);
  const int connected = peerIsSource ? jack_connect(client_, peer.c_str(), ownName)
                                     : jack_connect(client_, ownName, peer.c_str());
  if (connected != 0 && connected != EEXIST) {
    // Usually the peer vanished meanwhile; the next change brings the list up to date.
    jack_port_unregister(client_, port);
    return;
  }
  own[slot] = port;

  // The process callback reads the new port before the endpoint becomes visible: a peer may play
  // the moment a script can see it. Records it takes meanwhile are handed on by this thread, after
  // the source is known.
  PortSlot& table = peerIsSource ? inputs_[slot] : outputs_[slot];
  const std::uint32_t generation = table.generation.load(std::memory_order_relaxed) + 1;
  table.generation.store(generation, std::memory_order_relaxed);
  table.port.store(port, std::memory_order_release);

  const MIDIObjectType type = peerIsSource ? kMIDIObjectType_Source : kMIDIObjectType_Destination;
  MIDIEndpointRef endpoint = 0;
  {
    // A send that already finds the new destination waits here until it has its target. Sends
    // reach the backend without the graph's lock held, so this order cannot deadlock.
    std::unique_lock sendLock(sendMutex_, std::defer_lock);
    if (!peerIsSource) sendLock.lock();
    system_->changeGraph([&](coremidi::ObjectGraph& graph, auto& notes) {
      endpoint = graph.addEndpoint(0, type, peer, 0);
      notes.push_back(coremidi::QueuedNotification::addedOrRemoved(
          kMIDIMsgObjectAdded, 0, kMIDIObjectType_Other, endpoint, type));
    });
    if (peerIsSource) {
      sourceOfSlot_[slot] = endpoint;
    } else {
      sendTargets_[endpoint] = {slot, generation};
    }
  }
  (peerIsSource ? sources_ : destinations_)[peer] = {endpoint, slot};
}

void JackBackend::removeMirror(const std::string& peer, bool peerIsSource) {
  auto& known = peerIsSource ? sources_ : destinations_;
  const auto found = known.find(peer);
  if (found == known.end()) return;
  const Mirror mirror = found->second;
  known.erase(found);
  if (!peerIsSource) {
    std::lock_guard lock(sendMutex_);
    sendTargets_.erase(mirror.endpoint);
  }
  PortSlot& table = peerIsSource ? inputs_[mirror.slot] : outputs_[mirror.slot];
  table.port.store(nullptr, std::memory_order_release);
  if (peerIsSource) sourceOfSlot_[mirror.slot] = 0;
  system_->changeGraph([&](coremidi::ObjectGraph& graph, auto& notes) {
    const MIDIObjectType type = peerIsSource ? kMIDIObjectType_Source : kMIDIObjectType_Destination;
    if (graph.remove(mirror.endpoint)) {
      notes.push_back(coremidi::QueuedNotification::addedOrRemoved(
          kMIDIMsgObjectRemoved, 0, kMIDIObjectType_Other, mirror.endpoint, type));
    }
  });
  auto& own = peerIsSource ? ownInputs_ : ownOutputs_;
  if (!serverGone_.load(std::memory_order_acquire)) {
    waitForCycles();
    jack_port_unregister(client_, own[mirror.slot]);
  }
  own[mirror.slot] = nullptr;
}

void JackBackend::waitForCycles() {
  const std::uint64_t from = cycles_.load(std::memory_order_acquire);
  const auto deadline = std::chrono::steady_clock::now() + kCycleWait;
  while (cycles_.load(std::memory_order_acquire) < from + kCyclesToForget &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace jackmidi
