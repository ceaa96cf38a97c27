// The devices, entities and endpoints of the MIDI system, with its global source and destination
// order. Not thread-safe: the system holds its lock around every use.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "MidiServices.h"

namespace coremidi {

using ObjectName = std::optional<std::string>;

struct GraphObject {
  MIDIObjectType type = kMIDIObjectType_Other;
  ObjectName name;
  MIDIObjectRef parent = 0;              // entity of an endpoint (0: none), device of an entity
  std::vector<MIDIEntityRef> entities;   // of a device
  std::vector<MIDIEndpointRef> sources;  // of an entity
  std::vector<MIDIEndpointRef> destinations;  // of an entity
  bool listed = true;                         // device: present in the device list
  bool loopback = false;                      // entity: destinations feed sources by position
  SInt32 advanceScheduleTimeMuSec = 0;        // endpoint
};

// One notification's worth of change.
struct GraphChange {
  MIDINotificationMessageID messageID;
  MIDIObjectRef parent;
  MIDIObjectType parentType;
  MIDIObjectRef object;
  MIDIObjectType objectType;
};

class ObjectGraph {
 public:
  MIDIDeviceRef addDevice(const ObjectName& name, bool listed);
  MIDIEntityRef addEntity(MIDIDeviceRef device, const ObjectName& name, bool loopback);
  // entity 0 makes an unattached endpoint. type is source or destination.
  MIDIEndpointRef addEndpoint(MIDIEntityRef entity, MIDIObjectType type, const ObjectName& name,
                              SInt32 advanceScheduleTimeMuSec);
  // A device or an entity with all it holds, or an unattached endpoint.
  bool remove(MIDIObjectRef object);
  bool rename(MIDIObjectRef object, const ObjectName& name);

  const GraphObject* find(MIDIObjectRef object) const;
  bool isType(MIDIObjectRef object, MIDIObjectType type) const;

  const std::vector<MIDIDeviceRef>& listedDevices() const { return listedDevices_; }
  // Every device, listed or not, in the order added.
  const std::vector<MIDIDeviceRef>& allDevices() const { return allDevices_; }
  const std::vector<MIDIEndpointRef>& sources() const { return sources_; }
  const std::vector<MIDIEndpointRef>& destinations() const { return destinations_; }
  const std::vector<MIDIEndpointRef>& unattachedEndpoints() const { return unattached_; }

  // The source that a loopback destination feeds; 0 for any other destination.
  MIDIEndpointRef loopbackSourceOf(MIDIEndpointRef destination) const;

 private:
  // A new object with its reference, type, name and parent (0 for none).
  std::pair<MIDIObjectRef, GraphObject&> addObject(MIDIObjectType type, const ObjectName& name,
                                                   MIDIObjectRef parent);
  void forget(MIDIObjectRef object);

  std::unordered_map<MIDIObjectRef, GraphObject> objects_;
  std::vector<MIDIDeviceRef> listedDevices_;
  std::vector<MIDIDeviceRef> allDevices_;
  std::vector<MIDIEndpointRef> sources_;
  std::vector<MIDIEndpointRef> destinations_;
  std::vector<MIDIEndpointRef> unattached_;
};

// References for every object of the system (clients and ports too): unique, never reused.
MIDIObjectRef newObjectRef();

}  // namespace coremidi
