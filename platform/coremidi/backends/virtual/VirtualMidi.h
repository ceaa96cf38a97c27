// The virtual MIDI driver: describes the devices of the process's MIDI system, changes them at
// run time (every change posts notifications to all clients), injects MIDI into sources and
// captures what reaches destinations. A loopback entity's destinations deliver what they get to
// the entity's sources at the same position, through the MIDI receive thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "MidiServices.h"
#include "MidiSystemControl.h"

namespace virtualmidi {

// A name may be missing (the object has no name) or hold any UTF-8 text.
using Name = std::optional<std::string>;

// Members left out of a brace list take their defaults.
struct EndpointSpec {
  Name name = {};
  SInt32 advanceScheduleTimeMuSec = 0;
};

struct EntitySpec {
  Name name = {};
  std::vector<EndpointSpec> sources = {};
  std::vector<EndpointSpec> destinations = {};
  bool loopback = false;
};

struct DeviceSpec {
  Name name = {};
  std::vector<EntitySpec> entities = {};
  // An unlisted device is missing from MIDIGetDevice although its endpoints are listed.
  bool listed = true;
};

struct Setup {
  std::vector<DeviceSpec> devices = {};
  std::vector<EndpointSpec> unattachedSources = {};
  std::vector<EndpointSpec> unattachedDestinations = {};
};

// The setup the system starts with: device "Virtual Bus" with one loopback entity "Virtual Bus"
// holding one source and one destination, both named "Virtual Bus".
Setup defaultSetup();
inline constexpr const char* kDefaultDeviceName = "Virtual Bus";

// Removes every device and unattached endpoint, then adds the setup's, each change notified.
void replaceSetup(const Setup& setup);

// Devices in the order of the setup; endpoints go to the end of the global source and
// destination order.
MIDIDeviceRef addDevice(const DeviceSpec& device);
MIDIEndpointRef addUnattachedSource(const EndpointSpec& source);
MIDIEndpointRef addUnattachedDestination(const EndpointSpec& destination);
// Removing or renaming by name acts on the first device so named; false if there is none.
bool removeDevice(const std::string& name);
bool removeDevice(MIDIDeviceRef device);
bool removeEndpoint(MIDIEndpointRef unattachedEndpoint);
bool renameDevice(const std::string& name, const Name& newName);
// Renames a device, entity or endpoint.
bool renameObject(MIDIObjectRef object, const Name& newName);

// The first source or destination (global order) with that name; 0 if none.
MIDIEndpointRef findSource(const std::string& name);
MIDIEndpointRef findDestination(const std::string& name);

using Packet = std::vector<Byte>;

// Delivers the packets, as one packet list stamped with the current host time, to every read
// procedure connected to the source, on the MIDI receive thread; returns once they all have run.
// False if the source does not exist or a packet is longer than 65535 bytes.
bool inject(MIDIEndpointRef source, const std::vector<Packet>& packets);
bool injectByName(const std::string& sourceName, const std::vector<Packet>& packets);

struct CapturedPacket {
  MIDITimeStamp timeStamp;  // host time when it reached the destination
  Packet bytes;
};

// A destination keeps at most this many packets until they are taken; later ones are counted.
inline constexpr std::size_t kCapturedPacketLimit = 10000;

// Waits for the sends in flight, then hands over (and forgets) what reached the destination.
std::vector<CapturedPacket> takeCaptured(MIDIEndpointRef destination);
std::vector<CapturedPacket> takeCapturedByName(const std::string& destinationName);
// Waits for the sends in flight, then answers how many packets the destination did not keep
// since the last call, and starts counting again.
std::uint64_t takeDroppedCount(MIDIEndpointRef destination);
std::uint64_t takeDroppedCountByName(const std::string& destinationName);

}  // namespace virtualmidi
