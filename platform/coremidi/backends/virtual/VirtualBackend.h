// The in-process backend: devices described by the driver API, loopback from destinations to
// sources, and capture of what reaches a destination, up to a limit per destination.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include "Backend.h"
#include "VirtualMidi.h"

namespace virtualmidi {

class VirtualBackend : public coremidi::Backend {
 public:
  static constexpr const char* kName = "virtual";

  // The backend feeding the system, if it is this one; null otherwise.
  static VirtualBackend* current();

  const char* name() const override { return kName; }
  void start(coremidi::MidiSystem& system) override;
  void deliver(MIDIPortRef, MIDIEndpointRef destination, const MIDIPacketList* packets) override;

  std::vector<CapturedPacket> takeCaptured(MIDIEndpointRef destination);
  std::uint64_t takeDroppedCount(MIDIEndpointRef destination);

 private:
  struct Capture {
    std::vector<CapturedPacket> packets;
    std::uint64_t dropped = 0;
  };

  coremidi::MidiSystem* system_ = nullptr;
  std::mutex captureMutex_;
  std::map<MIDIEndpointRef, Capture> captured_;
};

}  // namespace virtualmidi
