// The device utilities: the one MIDI client shared by every instance and port of the Xtra, the
// counting and forwarding of device-change notifications, and the directories that list MIDI
// sources and destinations under readable, unique names and find them again by identifier.
// Host thread only: the client's notifications arrive on the same thread, so nothing is locked.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "DeviceList.h"
#include "MidiServices.h"

class MidiDeviceConfigurationChangeListener {
 public:
  virtual ~MidiDeviceConfigurationChangeListener() {}
  // A MIDI object was added, removed or had a property changed.
  virtual void deviceConfigurationChanged() = 0;
};

// The shared client, created by the first acquisition; 0 if the MIDI system refused it. Every
// acquisition that returned a client is matched by one release with that client.
MIDIClientRef fwAcquireMidiClient();
void fwReleaseMidiClient(MIDIClientRef client);

// What the input and output port share: a port of the shared client named `portName`, made
// with a client reference of its own. An input port when `readProc` is given (with `refCon` as
// its reference constant), else an output port. On failure no reference is kept and both client
// and port are 0. With `verbose`, writes the port classes' diagnostic lines to standard error.
bool fwCreateMidiPort(const std::string& portName, MIDIReadProc readProc, void* refCon,
                      bool verbose, MIDIClientRef& client, MIDIPortRef& port);
// Disposes of the port, if there is one, and gives back its client reference.
void fwDisposeMidiPort(bool verbose, MIDIClientRef& client, MIDIPortRef& port);

void fwAttachMidiDeviceConfigurationChangeListener(MidiDeviceConfigurationChangeListener* listener);
void fwDetachMidiDeviceConfigurationChangeListener(MidiDeviceConfigurationChangeListener* listener);

// Moves with every notification the client receives; the directories rebuild when it has.
std::uint32_t fwDeviceConfigurationChangeCount();

// The client's notification procedure; refCon is unused.
void midiClientNotifyProc(const MIDINotification* message, void* refCon);

// Append one entry per source (input) or destination (output), in the system's order.
void fwGetMidiInputDevices(DeviceList& devices);
void fwGetMidiOutputDevices(DeviceList& devices);
// The endpoint whose identifier is the entry's (its second string) in the current set; 0 if none.
MIDIEndpointRef fwFindMidiSourceEndpoint(const DeviceListEntry& device);
MIDIEndpointRef fwFindMidiDestinationEndpoint(const DeviceListEntry& device);

// The directory records. Pointers between records stay valid until the next rebuild.

struct DisambiguatedName {
  std::string text;
  bool isDuplicate = false;         // another name of the same group has equal text
  std::int32_t duplicateIndex = 0;  // earlier members of the group with equal text
};

struct EndpointRecord;

struct EntityRecord {
  MIDIEntityRef entity = 0;
  DisambiguatedName name;  // group: the entities of the same device
  std::vector<EndpointRecord> endpoints;
};

struct DeviceRecord {
  MIDIDeviceRef device = 0;
  DisambiguatedName name;  // group: the loaded devices of the directory
  bool isLoaded = false;
  std::vector<EntityRecord> entities;
};

struct EndpointRecord {
  DeviceRecord* device = nullptr;  // null for an endpoint without entity
  EntityRecord* entity = nullptr;  // null for an endpoint without entity
  MIDIEndpointRef endpoint = 0;
  DisambiguatedName name;         // group: the endpoints of the same entity
  DisambiguatedName shortName;    // group: the endpoints of the same device
  DisambiguatedName displayName;  // group: the whole list
};

struct MidiEndpointDirectory {
  std::uint32_t builtAtChangeCount = 0;
  std::vector<DeviceRecord> devices;
  std::vector<std::unique_ptr<EndpointRecord>> unattachedEndpoints;
  std::vector<EndpointRecord*> endpoints;  // the list, in the system's global order
};

// "device,n%entity,n%endpoint,n" for an endpoint with entity, "endpoint,n" for one without.
std::string endpointIdentifier(const EndpointRecord& record);
// kMIDIPropertyName in ASCII; empty when missing or not ASCII.
std::string midiObjectName(MIDIObjectRef object);
// " (n+1)".
std::string duplicateSuffix(std::int32_t duplicateIndex);
