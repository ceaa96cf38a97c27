#include "JackBackend.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "HostClock.h"
#include "MidiSystem.h"
#include "PacketLists.h"

namespace jackmidi {
namespace {

// Both rings hold far more than the ~32 KB a port buffer takes in one period.
constexpr std::size_t kRingBytes = 1 << 18;
// Long sysex goes out in pieces of this size; JACK receivers join them.
constexpr std::size_t kSendChunk = 1024;
// How long the backend's thread sleeps between looks at the received ring and the server.
constexpr auto kPollInterval = std::chrono::milliseconds(1);
constexpr auto kReopenInterval = std::chrono::milliseconds(250);
// The first look for a server, made before the system is handed out, may take this long.
constexpr auto kFirstAttemptPatience = std::chrono::seconds(5);
// A sender waits this long for room in the ring before it drops what it has.
constexpr auto kSendPatience = std::chrono::seconds(2);
constexpr Byte kSysexStart = 0xF0;
constexpr Byte kStatusBit = 0x80;

// The backend lives as long as the process; at exit its thread and client go first, before
// libjack's own state is torn down.
std::atomic<JackBackend*> running_{nullptr};

// libjack's messages would come from the process thread too, and a failed look for a server is
// expected: the backend writes its own diagnostics.
void quiet(const char*) {}

}  // namespace

JackBackend::JackBackend() = default;

JackBackend::~JackBackend() {
  stopThread();
}

void JackBackend::start(coremidi::MidiSystem& system) {
  system_ = &system;
  received_ = std::make_unique<ByteRing>(kRingBytes);
  toSend_ = std::make_unique<ByteRing>(kRingBytes);
  jack_set_error_function(quiet);
  jack_set_info_function(quiet);
  thread_ = std::thread([this] { run(); });
  const auto deadline = std::chrono::steady_clock::now() + kFirstAttemptPatience;
  while (!firstAttemptDone_.load(std::memory_order_acquire) &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kPollInterval);
  }
  running_.store(this, std::memory_order_release);
  std::atexit([] {
    if (JackBackend* backend = running_.exchange(nullptr)) backend->stopThread();
  });
}

void JackBackend::stopThread() {
  stop_.store(true, std::memory_order_release);
  if (thread_.joinable()) thread_.join();
}

void JackBackend::run() {
  while (!stop_.load(std::memory_order_acquire)) {
    if (!client_) {
      if (open()) {
        if (toldNoServer_) {
          std::fprintf(stderr, "JACK backend: connected to the JACK server as \"%s\".\n",
                       jack_get_client_name(client_));
        }
        toldNoServer_ = false;
      } else if (!toldNoServer_) {
        std::fprintf(stderr,
                     "JACK backend: no JACK server is running; its MIDI ports appear once one "
                     "starts.\n");
        toldNoServer_ = true;
      }
      firstAttemptDone_.store(true, std::memory_order_release);
      if (!client_) {
        std::this_thread::sleep_for(kReopenInterval);
        continue;
      }
    }
    if (serverGone_.load(std::memory_order_acquire)) {
      std::fprintf(stderr,
                   "JACK backend: the JACK server went away; its MIDI ports are gone until it "
                   "runs again.\n");
      close();
      toldNoServer_ = true;
      continue;
    }
    if (portsChanged_.exchange(false, std::memory_order_acq_rel)) synchronise();
    forwardReceived();
    std::this_thread::sleep_for(kPollInterval);
  }
  close();
}

void JackBackend::forwardReceived() {
  const std::uint64_t dropped = receivedDropped_.exchange(0, std::memory_order_relaxed);
  if (dropped > 0) {
    std::fprintf(stderr, "JACK backend: %llu received MIDI events were lost: the ring was full.\n",
                 static_cast<unsigned long long>(dropped));
  }
  RecordHeader header;
  while (peekRecord(*received_, header)) {
    event_.resize(header.size);
    takeRecord(*received_, header, event_.data());
    // A record of a port that left, or whose slot was reused since, has no source any more.
    if (header.slot >= kMaxPorts || sourceOfSlot_[header.slot] == 0 ||
        inputs_[header.slot].generation.load(std::memory_order_relaxed) != header.generation ||
        header.size > coremidi::kMaxPacketLength) {
      continue;
    }
    coremidi::beginPacketList(packetList_);
    coremidi::appendPacket(packetList_, coremidi::hostTimeNow(), event_.data(),
                           static_cast<UInt16>(header.size));
    system_->receive(sourceOfSlot_[header.slot], packetList_);
  }
}

void JackBackend::deliver(MIDIEndpointRef destination, const MIDIPacketList* packets) {
  std::lock_guard lock(sendMutex_);
  const auto found = sendTargets_.find(destination);
  if (found == sendTargets_.end()) return;
  const SendTarget target = found->second;
  coremidi::forEachPacket(packets, [&](const MIDIPacket& packet) {
    const Byte* data = reinterpret_cast<const Byte*>(&packet) + kMIDIPacketHeaderSize;
    const std::size_t length = packet.length;
    if (length == 0) return;
    if (data[0] == kSysexStart || data[0] < kStatusBit) {
      for (std::size_t at = 0; at < length; at += kSendChunk) {
        const std::size_t piece = std::min(kSendChunk, length - at);
        queueRecord({static_cast<std::uint32_t>(target.slot), target.generation,
                     static_cast<std::uint32_t>(piece)},
                    data + at);
      }
      return;
    }
    // One JACK event per message: a status byte with the data bytes behind it.
    std::size_t begin = 0;
    for (std::size_t at = 1; at <= length; ++at) {
      if (at == length || data[at] >= kStatusBit) {
        queueRecord({static_cast<std::uint32_t>(target.slot), target.generation,
                     static_cast<std::uint32_t>(at - begin)},
                    data + begin);
        begin = at;
      }
    }
  });
}

bool JackBackend::queueRecord(const RecordHeader& header, const Byte* data) {
  const auto deadline = std::chrono::steady_clock::now() + kSendPatience;
  while (!writeRecord(*toSend_, header, data)) {
    if (serverGone_.load(std::memory_order_acquire) ||
        std::chrono::steady_clock::now() > deadline) {
      std::fprintf(stderr, "JACK backend: %u MIDI bytes were dropped: the JACK server took none.\n",
                   header.size);
      return false;
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

}  // namespace jackmidi
