#include "VirtualMidi.h"

#include "HostClock.h"
#include "MidiSystem.h"
#include "PacketLists.h"
#include "SetupBuilder.h"
#include "VirtualBackend.h"

using coremidi::MidiSystem;
using coremidi::ObjectGraph;

namespace virtualmidi {
namespace {

// Long enough for any sane test or script; a stuck delivery must not hang the caller forever.
constexpr double kCaptureWaitSeconds = 10.0;

MIDIEndpointRef firstEndpointNamed(const std::vector<MIDIEndpointRef>& endpoints,
                                   const ObjectGraph& graph, const std::string& name) {
  for (MIDIEndpointRef endpoint : endpoints) {
    const coremidi::GraphObject* found = graph.find(endpoint);
    if (found->name && *found->name == name) return endpoint;
  }
  return 0;
}

// Waits for the sends in flight, then asks the virtual backend, when it is the one running.
template <typename Take>
auto afterDelivery(Take take) {
  MidiSystem::instance().inFlight().waitIdle(kCaptureWaitSeconds);
  VirtualBackend* backend = VirtualBackend::current();
  return backend ? take(*backend) : decltype(take(*backend)){};
}

}  // namespace

Setup defaultSetup() {
  EntitySpec bus{kDefaultDeviceName, {{kDefaultDeviceName}}, {{kDefaultDeviceName}}, true};
  return Setup{{DeviceSpec{kDefaultDeviceName, {bus}, true}}, {}, {}};
}

void replaceSetup(const Setup& setup) {
  MidiSystem::instance().changeGraph([&](ObjectGraph& graph, Notes& notes) {
    const std::vector<MIDIDeviceRef> devices = graph.allDevices();
    for (MIDIDeviceRef device : devices) removeFrom(graph, device, notes);
    const std::vector<MIDIEndpointRef> unattached = graph.unattachedEndpoints();
    for (MIDIEndpointRef endpoint : unattached) removeFrom(graph, endpoint, notes);
    for (const DeviceSpec& device : setup.devices) addDeviceTo(graph, device, notes);
    for (const EndpointSpec& source : setup.unattachedSources) {
      addUnattachedTo(graph, kMIDIObjectType_Source, source, notes);
    }
    for (const EndpointSpec& destination : setup.unattachedDestinations) {
      addUnattachedTo(graph, kMIDIObjectType_Destination, destination, notes);
    }
  });
}

MIDIDeviceRef addDevice(const DeviceSpec& device) {
  MIDIDeviceRef added = 0;
  MidiSystem::instance().changeGraph(
      [&](ObjectGraph& graph, Notes& notes) { added = addDeviceTo(graph, device, notes); });
  return added;
}

MIDIEndpointRef addUnattachedSource(const EndpointSpec& source) {
  MIDIEndpointRef added = 0;
  MidiSystem::instance().changeGraph([&](ObjectGraph& graph, Notes& notes) {
    added = addUnattachedTo(graph, kMIDIObjectType_Source, source, notes);
  });
  return added;
}

MIDIEndpointRef addUnattachedDestination(const EndpointSpec& destination) {
  MIDIEndpointRef added = 0;
  MidiSystem::instance().changeGraph([&](ObjectGraph& graph, Notes& notes) {
    added = addUnattachedTo(graph, kMIDIObjectType_Destination, destination, notes);
  });
  return added;
}

bool removeDevice(const std::string& name) {
  bool removed = false;
  MidiSystem::instance().changeGraph([&](ObjectGraph& graph, Notes& notes) {
    const MIDIDeviceRef device = firstDeviceNamed(graph, name);
    removed = device != 0 && removeFrom(graph, device, notes);
  });
  return removed;
}

bool removeDevice(MIDIDeviceRef device) {
  bool removed = false;
  MidiSystem::instance().changeGraph([&](ObjectGraph& graph, Notes& notes) {
    removed = graph.isType(device, kMIDIObjectType_Device) && removeFrom(graph, device, notes);
  });
  return removed;
}

bool removeEndpoint(MIDIEndpointRef unattachedEndpoint) {
  bool removed = false;
  MidiSystem::instance().changeGraph([&](ObjectGraph& graph, Notes& notes) {
    const coremidi::GraphObject* found = graph.find(unattachedEndpoint);
    const bool isDevice = found && found->type == kMIDIObjectType_Device;
    removed = found && !isDevice && removeFrom(graph, unattachedEndpoint, notes);
  });
  return removed;
}

bool renameDevice(const std::string& name, const Name& newName) {
  bool renamed = false;
  MidiSystem::instance().changeGraph([&](ObjectGraph& graph, Notes& notes) {
    const MIDIDeviceRef device = firstDeviceNamed(graph, name);
    renamed = device != 0 && renameIn(graph, device, newName, notes);
  });
  return renamed;
}

bool renameObject(MIDIObjectRef object, const Name& newName) {
  bool renamed = false;
  MidiSystem::instance().changeGraph(
      [&](ObjectGraph& graph, Notes& notes) { renamed = renameIn(graph, object, newName, notes); });
  return renamed;
}

MIDIEndpointRef findSource(const std::string& name) {
  return MidiSystem::instance().readGraph(
      [&](const ObjectGraph& graph) { return firstEndpointNamed(graph.sources(), graph, name); });
}

MIDIEndpointRef findDestination(const std::string& name) {
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) {
    return firstEndpointNamed(graph.destinations(), graph, name);
  });
}

bool inject(MIDIEndpointRef source, const std::vector<Packet>& packets) {
  MidiSystem& system = MidiSystem::instance();
  // A read procedure waiting for its own thread would never return.
  if (system.receiver().onReceiveThread()) return false;
  const bool exists = system.readGraph(
      [&](const ObjectGraph& graph) { return graph.isType(source, kMIDIObjectType_Source); });
  if (!exists) return false;
  const MIDITimeStamp now = coremidi::hostTimeNow();
  std::vector<Byte> list;
  coremidi::beginPacketList(list);
  for (const Packet& packet : packets) {
    if (packet.size() > coremidi::kMaxPacketLength) return false;
    coremidi::appendPacket(list, now, packet.data(), static_cast<UInt16>(packet.size()));
  }
  system.receiver().waitFor(system.receive(source, list));
  return true;
}

bool injectByName(const std::string& sourceName, const std::vector<Packet>& packets) {
  const MIDIEndpointRef source = findSource(sourceName);
  return source != 0 && inject(source, packets);
}

std::vector<CapturedPacket> takeCaptured(MIDIEndpointRef destination) {
  return afterDelivery([&](VirtualBackend& backend) { return backend.takeCaptured(destination); });
}

std::vector<CapturedPacket> takeCapturedByName(const std::string& destinationName) {
  const MIDIEndpointRef destination = findDestination(destinationName);
  return destination != 0 ? takeCaptured(destination) : std::vector<CapturedPacket>{};
}

std::uint64_t takeDroppedCount(MIDIEndpointRef destination) {
  return afterDelivery(
      [&](VirtualBackend& backend) { return backend.takeDroppedCount(destination); });
}

std::uint64_t takeDroppedCountByName(const std::string& destinationName) {
  const MIDIEndpointRef destination = findDestination(destinationName);
  return destination != 0 ? takeDroppedCount(destination) : 0;
}

}  // namespace virtualmidi
