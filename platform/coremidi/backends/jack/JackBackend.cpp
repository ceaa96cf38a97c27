#include "JackBackend.h"

#include <jack/metadata.h>
#include <jack/session.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <utility>

#include "Diagnostics.h"
#include "HostClock.h"
#include "MidiStatusBytes.h"
#include "MidiSystem.h"
#include "PacketLists.h"

namespace jackmidi {
namespace {

// Each ring holds far more than the ~32 KB a port buffer takes in one period.
constexpr std::size_t kRingBytes = 1 << 18;
// A system-exclusive message up to this long goes to the process thread as one record, and out
// as one event once a period's buffer has room for it (jackd2's and PipeWire's take about 32 KB);
// a longer one goes in records of this size, which the process thread cuts to what each period's
// buffer takes.
constexpr std::size_t kWholeMessageLimit = 1 << 16;
// Packets with a later time stamp are handed to the process thread this long before their time,
// so that they can be placed on their frame.
constexpr UInt64 kDeliveryLeadNanos = 20'000'000;
// How often the backend's thread looks at JACK's flags, and at a missing server.
constexpr auto kPollInterval = std::chrono::milliseconds(2);
constexpr auto kReopenInterval = std::chrono::milliseconds(250);
constexpr auto kClockRefreshInterval = std::chrono::milliseconds(100);
// A sender waits this long for room in a ring before it drops what it has.
constexpr auto kSendPatience = std::chrono::seconds(2);
// JACK refuses to connect a port of a client that has registered it but is not active yet, as
// happens for a moment after a program starts: a refused connection is tried again this long.
constexpr auto kConnectPatience = std::chrono::milliseconds(500);
constexpr auto kConnectRetryStep = std::chrono::milliseconds(5);
// Between looks at a process call that is still under way.
constexpr auto kQuiesceStep = std::chrono::microseconds(100);

// The backend lives as long as the process; at exit its thread and client go first, before
// libjack's own state is torn down.
std::atomic<JackBackend*> running_{nullptr};

// libjack would print from the process thread too, and a failed look for a server is expected:
// the backend writes its own diagnostics.
void quiet(const char*) {}

std::string serverName() {
  const char* name = std::getenv("JACK_DEFAULT_SERVER");
  return name && *name ? name : "default";
}

// Names tried after the plain one, numbered as jackd numbers a client whose name is taken.
constexpr int kClientNameNumbers = 99;

// True when a client older than `client` has its name. jackd never hands out such a name (it
// numbers the newcomer); PipeWire does, and then lists the ports of both clients under the same
// names, so that a connection by name can reach the wrong one.
bool nameHeldByAnother(jack_client_t* client) {
  char* first = jack_get_uuid_for_client_name(client, jack_get_client_name(client));
  char* own = jack_client_get_uuid(client);
  const bool another = first && own && std::string_view(first) != own;
  jack_free(first);
  jack_free(own);
  return another;
}

// A client with a name of its own: the plain name, else "NAME-01", "NAME-02", ...; null if no
// server runs.
jack_client_t* openClient(const char* plainName) {
  for (int number = 0; number <= kClientNameNumbers; ++number) {
    char name[64];
    if (number == 0) {
      std::snprintf(name, sizeof name, "%s", plainName);
    } else {
      std::snprintf(name, sizeof name, "%s-%02d", plainName, number);
    }
    jack_status_t status{};
    jack_client_t* client = jack_client_open(name, JackNoStartServer, &status);
    if (!client) return nullptr;
    if (!nameHeldByAnother(client)) return client;
    jack_client_close(client);
  }
  return nullptr;
}

}  // namespace

JackBackend::JackBackend() : joiner_(kWholeMessageLimit) {}

JackBackend::~JackBackend() {
  stopThread();
}

void JackBackend::start(coremidi::MidiSystem& system) {
  system_ = &system;
  sendNow_ = std::make_unique<SendQueue>(kRingBytes);
  sendSysex_ = std::make_unique<SendQueue>(kRingBytes);
  sendTimed_ = std::make_unique<SendQueue>(kRingBytes);
  // Room for the largest packet, so that the process thread never grows it.
  packetList_.reserve(sizeof(MIDIPacketList) + coremidi::kMaxPacketLength + 16);
  jack_set_error_function(quiet);
  jack_set_info_function(quiet);
  // The JACK client waits for the first client of the MIDI system, whose name it takes.
  thread_ = std::thread([this] { run(); });
  running_.store(this, std::memory_order_release);
  std::atexit([] {
    if (JackBackend* backend = running_.exchange(nullptr)) backend->stopThread();
  });
}

bool JackBackend::open() {
  if (midiClients_.empty()) return false;
  client_ = openClient(midiClients_.front().second.c_str());
  if (!client_) return false;
  serverGone_.store(false, std::memory_order_release);
  toldNotRunning_ = false;
  jack_set_process_callback(client_, process, this);
  jack_set_port_registration_callback(client_, portRegistered, this);
  jack_set_port_rename_callback(client_, portRenamed, this);
  jack_set_client_registration_callback(client_, clientRegistered, this);
  jack_set_property_change_callback(client_, propertyChanged, this);
  jack_on_info_shutdown(client_, serverShutDown, this);
  processClient_.store(client_, std::memory_order_release);
  if (jack_activate(client_) != 0) {
    processClient_.store(nullptr, std::memory_order_release);
    jack_client_close(client_);
    client_ = nullptr;
    return false;
  }
  refreshClockOffset();
  // Ports of a client made before, when the server went away, come back under their names.
  for (auto& own : ownPorts_) registerOwn(*own);
  // Ports that existed before activation are never announced.
  portsChanged_.store(false, std::memory_order_relaxed);
  synchronise();
  if (toldGone_) {
    coremidi::diagnose("JACK backend: connected to the JACK server \"%s\" as \"%s\".",
                       serverName().c_str(), jack_get_client_name(client_));
    toldGone_ = false;
  }
  return true;
}

// Our ports die with the client; they are registered again on the next server.
void JackBackend::close() {
  for (auto& own : ownPorts_) unpublish(*own);
  if (client_) {
    // No process call runs once a live client is deactivated; a client whose server is gone
    // gets no more calls once it is closed. Only then is anything the calls used let go.
    if (!serverGone_.load(std::memory_order_acquire)) jack_deactivate(client_);
    jack_client_close(client_);
    processClient_.store(nullptr, std::memory_order_release);
    client_ = nullptr;
  }
  quiesce();
  for (auto& own : ownPorts_) own->jackPort = nullptr;
  forgetPeers();
  std::lock_guard lock(sendSysex_->producer);
  joiner_.reset();
}

// Tries the server at once rather than at the next look of the backend's thread.
bool JackBackend::clientReachesServer() {
  if (client_) return !serverGone_.load(std::memory_order_acquire);
  return open();
}

// Once per absence of the server, however often a script retries.
void JackBackend::tellNotRunning() {
  if (toldNotRunning_) return;
  toldNotRunning_ = true;
  coremidi::diagnose(
      "JACK backend: the JACK server \"%s\" is not running; start it (for example "
      "\"jackd -d dummy\") and call Init again.",
      serverName().c_str());
}

OSStatus JackBackend::clientCreated(MIDIClientRef client, const std::string& name) {
  std::lock_guard lock(controlMutex_);
  midiClients_.emplace_back(client, name);
  if (clientReachesServer()) return noErr;
  midiClients_.pop_back();
  tellNotRunning();
  return kMIDIServerStartErr;
}

// A program without a client of the MIDI system shows nothing in JACK; the next client opens the
// JACK client again, under its own name.
void JackBackend::clientDisposed(MIDIClientRef client) {
  std::lock_guard lock(controlMutex_);
  std::erase_if(midiClients_, [&](const auto& known) { return known.first == client; });
  if (midiClients_.empty()) close();
}

bool JackBackend::engineRuns() {
  std::lock_guard lock(controlMutex_);
  if (clientReachesServer()) return true;
  tellNotRunning();
  return false;
}

OSStatus JackBackend::portCreated(MIDIPortRef port, bool isInput, const std::string& name) {
  std::lock_guard lock(controlMutex_);
  if (!client_) return kMIDIServerStartErr;
  std::vector<bool> used(kMaxPorts, false);
  for (const auto& own : ownPorts_) {
    if (own->isInput == isInput) used[own->slot] = true;
  }
  const auto free = std::find(used.begin(), used.end(), false);
  if (free == used.end()) return kMIDINotPermitted;
  auto own = std::make_unique<OwnPort>();
  own->port = port;
  own->isInput = isInput;
  own->slot = static_cast<std::size_t>(free - used.begin());
  // A name already taken gets the lowest free number from 2; a port without a name is called
  // after its direction.
  const std::string base = !name.empty() ? name : isInput ? "input" : "output";
  for (int number = 1; own->name.empty(); ++number) {
    const std::string candidate = number == 1 ? base : base + " " + std::to_string(number);
    const bool taken = std::any_of(ownPorts_.begin(), ownPorts_.end(),
                                   [&](const auto& other) { return other->name == candidate; });
    if (!taken) own->name = candidate;
  }
  if (!registerOwn(*own)) return kMIDINotPermitted;
  ownPorts_.push_back(std::move(own));
  return noErr;
}

bool JackBackend::registerOwn(OwnPort& own) {
  const unsigned long direction = own.isInput ? JackPortIsInput : JackPortIsOutput;
  own.jackPort =
      jack_port_register(client_, own.name.c_str(), JACK_DEFAULT_MIDI_TYPE, direction, 0);
  if (!own.jackPort) {
    coremidi::diagnose("JACK backend: cannot register the port \"%s\".", own.name.c_str());
    return false;
  }
  if (own.isInput) {
    inputs_[own.slot].port.store(own.jackPort, std::memory_order_seq_cst);
  } else {
    OutputSlot& slot = outputs_[own.slot];
    // Relaxed: the port's store below publishes it.
    slot.generation.store(slot.generation.load(std::memory_order_relaxed) + 1,
                          std::memory_order_relaxed);
    slot.port.store(own.jackPort, std::memory_order_seq_cst);
  }
  return true;
}

// The process thread no longer finds the port; a call under way may still hold it (quiesce).
void JackBackend::unpublish(OwnPort& own) {
  if (own.isInput) {
    inputs_[own.slot].port.store(nullptr, std::memory_order_seq_cst);
  } else {
    outputs_[own.slot].port.store(nullptr, std::memory_order_seq_cst);
    own.destination = 0;
  }
}

void JackBackend::portDisposed(MIDIPortRef port) {
  std::lock_guard lock(controlMutex_);
  const auto found = std::find_if(ownPorts_.begin(), ownPorts_.end(),
                                  [&](const auto& own) { return own->port == port; });
  if (found == ownPorts_.end()) return;
  OwnPort& own = **found;
  if (own.isInput) inputs_[own.slot].listener.store(nullptr, std::memory_order_seq_cst);
  unpublish(own);
  quiesce();
  if (own.jackPort && client_ && !serverGone_.load(std::memory_order_acquire)) {
    jack_port_unregister(client_, own.jackPort);
  }
  ownPorts_.erase(found);  // with its listeners: no process call can reach them now
}

JackBackend::OwnPort* JackBackend::ownPort(MIDIPortRef port) {
  for (auto& own : ownPorts_) {
    if (own->port == port) return own.get();
  }
  return nullptr;
}

bool JackBackend::connectPorts(const char* from, const char* to) {
  const auto deadline = std::chrono::steady_clock::now() + kConnectPatience;
  for (;;) {
    const int status = jack_connect(client_, from, to);
    if (status == 0 || status == EEXIST) {
      // PipeWire may answer before the connection carries anything; what is sent next must not
      // go to nobody.
      jack_port_t* port = jack_port_by_name(client_, from);
      while (port && !jack_port_connected_to(port, to) &&
             std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kConnectRetryStep);
      }
      return true;
    }
    // Only a refusal while both ports exist may pass: their client is not active yet.
    if (std::chrono::steady_clock::now() > deadline || !jack_port_by_name(client_, from) ||
        !jack_port_by_name(client_, to)) {
      return false;
    }
    std::this_thread::sleep_for(kConnectRetryStep);
  }
}

// The listener is published before the connection is made, so that the first events the source
// sends through it already reach the read procedure.
OSStatus JackBackend::connectInput(const coremidi::InputConnection& connection) {
  std::lock_guard lock(controlMutex_);
  OwnPort* own = ownPort(connection.port);
  if (!own || !own->isInput) return kMIDIInvalidPort;
  const PeerPort* peer = peerOf(connection.source);
  if (!client_ || !peer || !own->jackPort) return kMIDIUnknownEndpoint;
  auto listener = std::make_unique<Listener>(
      Listener{connection.readProc, connection.portRefCon, connection.connectionRefCon});
  auto& connections = own->connections;
  const auto same = std::find_if(connections.begin(), connections.end(),
                                 [&](const auto& c) { return c.first == connection.source; });
  std::unique_ptr<Listener> retired;
  if (same != connections.end()) {
    retired = std::exchange(same->second, std::move(listener));
  } else {
    connections.emplace_back(connection.source, std::move(listener));
  }
  publishListener(*own);
  OSStatus status = noErr;
  if (!connectPorts(peer->fullName.c_str(), jack_port_name(own->jackPort))) {
    status = kMIDINotPermitted;
    const auto made = std::find_if(connections.begin(), connections.end(),
                                   [&](const auto& c) { return c.first == connection.source; });
    if (retired) {
      std::swap(made->second, retired);  // the connection as it was
    } else {
      retired = std::move(made->second);
      connections.erase(made);
    }
    publishListener(*own);
  }
  if (retired) quiesce();  // before the retired listener goes
  return status;
}

bool JackBackend::disconnectInput(MIDIPortRef port, MIDIEndpointRef source) {
  std::lock_guard lock(controlMutex_);
  OwnPort* own = ownPort(port);
  if (!own || !own->isInput) return false;
  auto& connections = own->connections;
  const auto found = std::find_if(connections.begin(), connections.end(),
                                  [&](const auto& c) { return c.first == source; });
  if (found == connections.end()) return false;
  if (const PeerPort* peer = peerOf(source); peer && client_ && own->jackPort) {
    jack_disconnect(client_, peer->fullName.c_str(), jack_port_name(own->jackPort));
  }
  const std::unique_ptr<Listener> retired = std::move(found->second);
  connections.erase(found);
  publishListener(*own);
  quiesce();  // no read procedure of the retired listener runs after this
  return true;
}

// JACK merges what several sources send into one input port and keeps no sender: the events go
// to the first connection's read procedure.
void JackBackend::publishListener(OwnPort& own) {
  const Listener* first = own.connections.empty() ? nullptr : own.connections.front().second.get();
  inputs_[own.slot].listener.store(first, std::memory_order_seq_cst);
}

// Returns once no process call can hold what was unpublished before: at once when none runs, else
// when the one under way ends. New calls read the slots afresh. It waits for no new cycle, so a
// stalled or vanished server cannot hold it up, and it gives up on nothing: what it guards is let
// go only after it returns.
void JackBackend::quiesce() {
  const std::uint64_t pass = processPasses_.load(std::memory_order_seq_cst);
  if (pass % 2 == 0) return;
  while (processPasses_.load(std::memory_order_seq_cst) == pass) {
    std::this_thread::sleep_for(kQuiesceStep);
  }
}

// The port is chosen, and connected, when the request is made rather than when its transfer runs:
// by then another instance may have made a port that would be chosen instead.
void JackBackend::sysexRequested(MIDIEndpointRef destination) {
  std::lock_guard lock(controlMutex_);
  if (OwnPort* own = senderFor(0, destination); own && !own->isInput) {
    connectOutput(*own, destination);
  }
}

MIDITimeStamp JackBackend::deliveryLead() const {
  return coremidi::nanosToHostTime(kDeliveryLeadNanos);
}

// A system-exclusive request names no port: it goes out of the output port already connected to
// its destination, else out of the newest output port that has none, else the newest one.
JackBackend::OwnPort* JackBackend::senderFor(MIDIPortRef port, MIDIEndpointRef destination) {
  if (port != 0) return ownPort(port);
  OwnPort* unconnected = nullptr;
  OwnPort* newest = nullptr;
  for (auto& own : ownPorts_) {
    if (own->isInput) continue;
    if (own->destination == destination) return own.get();
    if (own->destination == 0) unconnected = own.get();
    newest = own.get();
  }
  return unconnected ? unconnected : newest;
}

// One JACK output port plays to all its connections: it follows the latest destination sent to.
bool JackBackend::connectOutput(OwnPort& own, MIDIEndpointRef destination) {
  if (own.destination == destination) return true;
  const PeerPort* peer = peerOf(destination);
  if (!peer || !client_ || !own.jackPort) return false;
  const char* ours = jack_port_name(own.jackPort);
  if (const PeerPort* previous = peerOf(own.destination)) {
    jack_disconnect(client_, ours, previous->fullName.c_str());
  }
  if (!connectPorts(ours, peer->fullName.c_str())) {
    coremidi::diagnose(
        "JACK backend: JACK refused to connect \"%s\" to \"%s\"; what goes there is dropped.", ours,
        peer->fullName.c_str());
    return false;
  }
  own.destination = destination;
  return true;
}

void JackBackend::deliver(MIDIPortRef port, MIDIEndpointRef destination,
                          const MIDIPacketList* packets) {
  std::uint32_t slot = 0;
  std::uint32_t generation = 0;
  {
    std::lock_guard lock(controlMutex_);
    OwnPort* own = senderFor(port, destination);
    if (!own || own->isInput || !connectOutput(*own, destination)) return;
    slot = static_cast<std::uint32_t>(own->slot);
    generation = outputs_[own->slot].generation.load(std::memory_order_relaxed);
  }
  // Released before the rings are filled: a full ring waits for the process thread, which needs
  // no lock; a port disposed meanwhile drops the records by their generation.
  const MIDITimeStamp now = coremidi::hostTimeNow();
  coremidi::forEachPacket(packets, [&](const MIDIPacket& packet) {
    const Byte* data = reinterpret_cast<const Byte*>(&packet) + kMIDIPacketHeaderSize;
    const std::size_t length = packet.length;
    if (length == 0) return;
    const MIDITimeStamp due = packet.timeStamp > now ? packet.timeStamp : 0;
    const auto header = [&](std::size_t size) {
      return RecordHeader{slot, generation, static_cast<std::uint32_t>(size), 0, due};
    };
    if (port == 0) {
      // A piece of a system-exclusive request: receivers get the whole message in one event.
      std::lock_guard lock(sendSysex_->producer);
      if (destination != joinDestination_) {
        joiner_.reset();
        joinDestination_ = destination;
      }
      joiner_.feed(data, length, [&](const Byte* bytes, std::size_t size) {
        writeWaiting(*sendSysex_, header(size), bytes);
      });
      return;
    }
    if (data[0] == coremidi::kSysexStart || !coremidi::isStatusByte(data[0])) {
      queueRecord(due != 0 ? *sendTimed_ : *sendSysex_, header(length), data);
      return;
    }
    // One JACK event per message: a status byte with the data bytes behind it.
    SendQueue& queue = due != 0 ? *sendTimed_ : *sendNow_;
    std::size_t begin = 0;
    for (std::size_t at = 1; at <= length; ++at) {
      if (at == length || coremidi::isStatusByte(data[at])) {
        queueRecord(queue, header(at - begin), data + begin);
        begin = at;
      }
    }
  });
}

void JackBackend::queueRecord(SendQueue& queue, const RecordHeader& header, const Byte* data) {
  std::lock_guard lock(queue.producer);
  writeWaiting(queue, header, data);
}

// The caller holds the queue's producer lock.
void JackBackend::writeWaiting(SendQueue& queue, const RecordHeader& header, const Byte* data) {
  const auto deadline = std::chrono::steady_clock::now() + kSendPatience;
  while (!writeRecord(queue.ring, header, data)) {
    if (serverGone_.load(std::memory_order_acquire) ||
        processClient_.load(std::memory_order_acquire) == nullptr ||
        std::chrono::steady_clock::now() > deadline) {
      coremidi::diagnose("JACK backend: %u MIDI bytes were dropped: the JACK server took none.",
                         header.size);
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void JackBackend::refreshClockOffset() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const jack_time_t jackNow = jack_get_time();
  const std::int64_t hostNanos =
      static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
  clockOffsetNanos_.store(hostNanos - static_cast<std::int64_t>(jackNow) * 1000,
                          std::memory_order_relaxed);
}

void JackBackend::stopThread() {
  stop_.store(true, std::memory_order_release);
  if (thread_.joinable()) thread_.join();
}

void JackBackend::run() {
  auto lastReopen = std::chrono::steady_clock::now();
  auto lastClock = lastReopen;
  while (!stop_.load(std::memory_order_acquire)) {
    std::this_thread::sleep_for(kPollInterval);
    const auto now = std::chrono::steady_clock::now();
    std::lock_guard lock(controlMutex_);
    if (serverGone_.load(std::memory_order_acquire) && client_) {
      coremidi::diagnose(
          "JACK backend: the JACK server \"%s\" went away; its MIDI ports are gone until it runs "
          "again.",
          serverName().c_str());
      close();
      toldGone_ = true;
      continue;
    }
    if (!client_) {
      if (now - lastReopen >= kReopenInterval) {
        lastReopen = now;
        open();
      }
      continue;
    }
    if (portsChanged_.exchange(false, std::memory_order_acq_rel)) synchronise();
    if (now - lastClock >= kClockRefreshInterval) {
      lastClock = now;
      refreshClockOffset();
    }
  }
  std::lock_guard lock(controlMutex_);
  close();
}

}  // namespace jackmidi
