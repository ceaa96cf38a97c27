#include "VirtualBackend.h"

#include <atomic>
#include <utility>

#include "HostClock.h"
#include "MidiSystem.h"
#include "PacketLists.h"
#include "SetupBuilder.h"

namespace virtualmidi {
namespace {

// Set once while the system is made, before any other thread can ask for it.
std::atomic<VirtualBackend*> current_{nullptr};

}  // namespace

VirtualBackend* VirtualBackend::current() {
  coremidi::MidiSystem::instance();
  return current_.load(std::memory_order_acquire);
}

void VirtualBackend::start(coremidi::MidiSystem& system) {
  system_ = &system;
  current_.store(this, std::memory_order_release);
  // Through the system given, not the driver API: the system is still being made.
  const Setup setup = defaultSetup();
  system.changeGraph([&](coremidi::ObjectGraph& graph, Notes& notes) {
    for (const DeviceSpec& device : setup.devices) addDeviceTo(graph, device, notes);
  });
}

void VirtualBackend::deliver(MIDIPortRef, MIDIEndpointRef destination,
                             const MIDIPacketList* packets) {
  const MIDITimeStamp now = coremidi::hostTimeNow();
  std::vector<Byte> loopback;
  coremidi::beginPacketList(loopback);
  {
    std::lock_guard lock(captureMutex_);
    Capture& capture = captured_[destination];
    coremidi::forEachPacket(packets, [&](const MIDIPacket& packet) {
      const Byte* data = reinterpret_cast<const Byte*>(&packet) + kMIDIPacketHeaderSize;
      // Nobody may ever read a destination: what it keeps must stay bounded.
      if (capture.packets.size() < kCapturedPacketLimit) {
        capture.packets.push_back({now, Packet(data, data + packet.length)});
      } else {
        ++capture.dropped;
      }
      coremidi::appendPacket(loopback, now, data, packet.length);
    });
  }
  const MIDIEndpointRef source = system_->readGraph(
      [&](const coremidi::ObjectGraph& graph) { return graph.loopbackSourceOf(destination); });
  if (source != 0) system_->receive(source, loopback);
}

std::vector<CapturedPacket> VirtualBackend::takeCaptured(MIDIEndpointRef destination) {
  std::lock_guard lock(captureMutex_);
  auto found = captured_.find(destination);
  if (found == captured_.end()) return {};
  return std::exchange(found->second.packets, {});
}

std::uint64_t VirtualBackend::takeDroppedCount(MIDIEndpointRef destination) {
  std::lock_guard lock(captureMutex_);
  auto found = captured_.find(destination);
  return found == captured_.end() ? 0 : std::exchange(found->second.dropped, 0);
}

}  // namespace virtualmidi
