// Real MIDI through a JACK server: every MIDI port of the other JACK clients becomes an endpoint
// named by its full JACK name ("client:port"). The client "Tonvik Xtra" keeps one port of its
// own per endpoint, connected to it, so that a send reaches only its destination and a receive
// knows its source.
//
// Threads: JACK's process thread only moves bytes between the port buffers and two lock-free
// rings. The backend's own thread does everything else: opening the client (again, after the
// server went away), following port changes, and handing received bytes to the MIDI system.
#pragma once

#include <jack/jack.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "Backend.h"
#include "JackRecords.h"

namespace jackmidi {

class JackBackend : public coremidi::Backend {
 public:
  static constexpr const char* kName = "jack";
  static constexpr const char* kClientName = "Tonvik Xtra";

  JackBackend();
  ~JackBackend() override;
  JackBackend(const JackBackend&) = delete;
  JackBackend& operator=(const JackBackend&) = delete;

  const char* name() const override { return kName; }
  void start(coremidi::MidiSystem& system) override;
  void deliver(MIDIEndpointRef destination, const MIDIPacketList* packets) override;

 private:
  // Read by the process thread: the port is published last (release), so the generation that
  // goes with it is visible once the port is (acquire).
  struct PortSlot {
    std::atomic<jack_port_t*> port{nullptr};
    std::atomic<std::uint32_t> generation{0};
  };
  // A port of another client, as the backend's thread keeps it.
  struct Mirror {
    MIDIEndpointRef endpoint = 0;
    std::size_t slot = 0;
  };
  struct SendTarget {
    std::size_t slot;
    std::uint32_t generation;
  };

  // JackProcess.cpp: callbacks of libjack.
  static int process(jack_nframes_t frames, void* self);
  static void portRegistered(jack_port_id_t, int, void* self);
  static void portRenamed(jack_port_id_t, const char*, const char*, void* self);
  static void clientRegistered(const char*, int, void* self);
  static void serverShutDown(jack_status_t, const char*, void* self);
  void readInputs(jack_nframes_t frames);
  void writeOutputs(jack_nframes_t frames);

  // JackDirectory.cpp: the client and the mirror of the other clients' ports.
  bool open();
  void close();
  void synchronise();
  void addMirror(const std::string& peer, bool peerIsSource);
  void removeMirror(const std::string& peer, bool peerIsSource);
  void waitForCycles();

  // JackBackend.cpp: the backend's thread.
  void run();
  void forwardReceived();
  void stopThread();
  bool queueRecord(const RecordHeader& header, const Byte* data);

  coremidi::MidiSystem* system_ = nullptr;
  std::unique_ptr<ByteRing> received_;  // process thread -> backend thread
  std::unique_ptr<ByteRing> toSend_;    // senders (one at a time) -> process thread
  std::array<PortSlot, kMaxPorts> inputs_;
  std::array<PortSlot, kMaxPorts> outputs_;
  std::atomic<std::uint64_t> cycles_{0};
  std::atomic<std::uint64_t> receivedDropped_{0};
  std::atomic<bool> serverGone_{false};
  std::atomic<bool> portsChanged_{false};
  std::atomic<bool> stop_{false};
  std::atomic<bool> firstAttemptDone_{false};

  // Backend thread only.
  jack_client_t* client_ = nullptr;
  std::map<std::string, Mirror> sources_;
  std::map<std::string, Mirror> destinations_;
  std::array<MIDIEndpointRef, kMaxPorts> sourceOfSlot_{};
  std::array<jack_port_t*, kMaxPorts> ownInputs_{};
  std::array<jack_port_t*, kMaxPorts> ownOutputs_{};
  std::vector<Byte> packetList_;
  std::vector<Byte> event_;
  bool toldNoServer_ = false;

  std::mutex sendMutex_;  // senders among themselves, and sendTargets_
  std::unordered_map<MIDIEndpointRef, SendTarget> sendTargets_;

  std::thread thread_;
};

}  // namespace jackmidi
