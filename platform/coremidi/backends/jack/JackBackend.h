// Real MIDI through a JACK server. The MIDI system's clients share one JACK client, open while
// any of them lives and named after the oldest; each of their ports is a JACK port of that client
// named as its creator named it (numbered from 2 when the name is taken: JACK wants port names
// unique within a client). Every other JACK client with MIDI ports is a device named after the
// client, each of its MIDI ports an entity with one endpoint named after the port.
//
// Threads: JACK's process thread reads the input ports straight into the read procedures and
// writes what senders queued in three lock-free rings; it allocates nothing and takes no lock. The
// backend's own thread follows what JACK's notification thread flags (ports, clients, the server
// going away) and reopens the client once a server runs again. Everything else runs on the
// threads of the API's callers, under `controlMutex_`.
#pragma once

#include <jack/jack.h>
#include <jack/metadata.h>
#include <jack/uuid.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Backend.h"
#include "JackRecords.h"
#include "SysexJoiner.h"

namespace coremidi {
class ObjectGraph;
struct QueuedNotification;
}  // namespace coremidi

namespace jackmidi {

class JackBackend : public coremidi::Backend {
 public:
  static constexpr const char* kName = "jack";

  JackBackend();
  ~JackBackend() override;
  JackBackend(const JackBackend&) = delete;
  JackBackend& operator=(const JackBackend&) = delete;

  const char* name() const override { return kName; }
  void start(coremidi::MidiSystem& system) override;
  OSStatus clientCreated(MIDIClientRef client, const std::string& name) override;
  void clientDisposed(MIDIClientRef client) override;
  OSStatus portCreated(MIDIPortRef port, bool isInput, const std::string& name) override;
  void portDisposed(MIDIPortRef port) override;
  bool engineRuns() override;
  bool readsInputPorts() const override { return true; }
  OSStatus connectInput(const coremidi::InputConnection& connection) override;
  bool disconnectInput(MIDIPortRef port, MIDIEndpointRef source) override;
  void sysexRequested(MIDIEndpointRef destination) override;
  MIDITimeStamp deliveryLead() const override;
  void deliver(MIDIPortRef port, MIDIEndpointRef destination,
               const MIDIPacketList* packets) override;

 private:
  // What the process thread needs of an input port's first connection.
  struct Listener {
    MIDIReadProc readProc;
    void* portRefCon;
    void* connectionRefCon;
  };
  // Read by the process thread. The port is published last, so what goes with it is visible once
  // the port is; a slot is cleared, then what it held is freed once no process call can hold it
  // (see quiesce). Sequentially consistent: that handshake needs it (see processPasses_).
  struct InputSlot {
    std::atomic<jack_port_t*> port{nullptr};
    std::atomic<const Listener*> listener{nullptr};
  };
  struct OutputSlot {
    std::atomic<jack_port_t*> port{nullptr};
    std::atomic<std::uint32_t> generation{0};
  };
  // One of our own ports, as the controlling threads keep it.
  struct OwnPort {
    MIDIPortRef port = 0;
    bool isInput = false;
    std::size_t slot = 0;
    std::string name;  // short name within our client
    jack_port_t* jackPort = nullptr;
    // Input: the sources connected, the first of which the process thread hands events to.
    std::vector<std::pair<MIDIEndpointRef, std::unique_ptr<Listener>>> connections;
    // Output: the destination it is connected to; it follows the latest one sent to.
    MIDIEndpointRef destination = 0;
  };
  // A ring from the senders to the process thread, and what each side keeps of it.
  struct SendQueue {
    explicit SendQueue(std::size_t bytes) : ring(bytes) {}
    ByteRing ring;
    std::mutex producer;  // senders among themselves: the ring has one producer at a time
    // Process thread only: bytes of the first record already written, when a message too large
    // for one period's buffer goes out over several.
    std::size_t written = 0;
  };
  // A MIDI port of another client.
  struct PeerPort {
    jack_uuid_t uuid = 0;
    std::string fullName;
    std::string shownName;
    bool isSource = false;
    MIDIEntityRef entity = 0;
    MIDIEndpointRef endpoint = 0;
  };
  struct PeerClient {
    MIDIDeviceRef device = 0;
    std::vector<PeerPort> ports;
  };
  // The other clients' MIDI ports as the server has them now, by client, in the server's order.
  struct ServerPorts {
    std::map<std::string, std::vector<PeerPort>> byClient;
    std::vector<std::string> order;
  };
  using Notes = std::vector<coremidi::QueuedNotification>;

  // JackProcess.cpp: callbacks of libjack.
  static int process(jack_nframes_t frames, void* self);
  static void portRegistered(jack_port_id_t, int, void* self);
  static void portRenamed(jack_port_id_t, const char*, const char*, void* self);
  static void clientRegistered(const char*, int, void* self);
  static void propertyChanged(jack_uuid_t, const char*, jack_property_change_t, void* self);
  static void serverShutDown(jack_status_t, const char*, void* self);
  void readInputs(const Cycle& cycle);
  void writeOutputs(const Cycle& cycle);
  void drain(SendQueue& queue, bool timed, const Cycle& cycle, std::int64_t offset);

  // JackDirectory.cpp: the other clients' ports as devices.
  void synchronise();
  ServerPorts readServerPorts() const;
  void removePeersThatLeft(const ServerPorts& now, coremidi::ObjectGraph& graph, Notes& notes);
  void addPeer(const std::string& clientName, const std::vector<PeerPort>& ports,
               coremidi::ObjectGraph& graph, Notes& notes);
  static void updatePeer(PeerClient& peer, const std::vector<PeerPort>& ports,
                         coremidi::ObjectGraph& graph, Notes& notes);
  void forgetPeers();
  const PeerPort* peerOf(MIDIEndpointRef endpoint) const;

  // JackBackend.cpp: the client, our ports and the backend's thread.
  bool open();
  void close();
  bool clientReachesServer();
  void tellNotRunning();
  bool registerOwn(OwnPort& own);
  void unpublish(OwnPort& own);
  OwnPort* ownPort(MIDIPortRef port);
  OwnPort* senderFor(MIDIPortRef port, MIDIEndpointRef destination);
  bool connectOutput(OwnPort& own, MIDIEndpointRef destination);
  bool connectPorts(const char* from, const char* to);
  void publishListener(OwnPort& own);
  void quiesce();
  void refreshClockOffset();
  void run();
  void stopThread();
  void queueRecord(SendQueue& queue, const RecordHeader& header, const Byte* data);
  void writeWaiting(SendQueue& queue, const RecordHeader& header, const Byte* data);

  coremidi::MidiSystem* system_ = nullptr;
  // Senders -> process thread: short messages due now, system-exclusive messages due now, and
  // anything with a time still to come. Short messages never wait behind a long message.
  std::unique_ptr<SendQueue> sendNow_;
  std::unique_ptr<SendQueue> sendSysex_;
  std::unique_ptr<SendQueue> sendTimed_;
  // The pieces of system-exclusive requests, joined into whole messages; under
  // sendSysex_->producer, like the destination they go to.
  SysexJoiner joiner_;
  MIDIEndpointRef joinDestination_ = 0;
  std::array<InputSlot, kMaxPorts> inputs_;
  std::array<OutputSlot, kMaxPorts> outputs_;
  // Process thread only: the packet list handed to read procedures; per output slot the port
  // taken for this cycle, with its generation and the room of its empty buffer, and the frame of
  // the last event written this cycle (JACK wants them in order).
  std::vector<Byte> packetList_;
  struct CyclePort {
    jack_port_t* port = nullptr;
    void* buffer = nullptr;
    std::uint32_t generation = 0;
    std::size_t emptyRoom = 0;
    std::size_t spent = 0;  // what this cycle's events cost the buffer (see costOf)
    jack_nframes_t lastFrame = 0;
  };
  std::array<CyclePort, kMaxPorts> cyclePorts_{};

  // The process thread reads these; others write them.
  std::atomic<jack_client_t*> processClient_{nullptr};
  // Host clock minus JACK's clock, in nanoseconds; refreshed off the process thread. Relaxed: a
  // slightly old offset only shifts time stamps by the clocks' drift.
  std::atomic<std::int64_t> clockOffsetNanos_{0};
  // Moved by 1 as the process callback begins and again as it ends: odd while one runs. A thread
  // that has cleared a slot and then reads an even count knows that no process call holds what
  // the slot held; an odd count, that the call under way is the last that may, and it waits for
  // the count to move. Sequentially consistent, with the slots' stores and loads: otherwise the
  // callback could read a slot before the clearing and the clearer read the count before the
  // callback began.
  std::atomic<std::uint64_t> processPasses_{0};
  // Flags from JACK's notification thread to the backend's thread.
  std::atomic<bool> serverGone_{false};
  std::atomic<bool> portsChanged_{false};
  std::atomic<bool> stop_{false};

  std::mutex controlMutex_;  // everything below, and every server request
  jack_client_t* client_ = nullptr;
  // The MIDI system's clients, oldest first, with their names: the JACK client is open while
  // there is one, under the name of the oldest.
  std::vector<std::pair<MIDIClientRef, std::string>> midiClients_;
  std::map<std::string, PeerClient> peers_;
  std::vector<std::unique_ptr<OwnPort>> ownPorts_;
  bool toldGone_ = false;
  bool toldNotRunning_ = false;

  std::thread thread_;
};

}  // namespace jackmidi
