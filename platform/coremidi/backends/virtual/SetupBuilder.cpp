#include "SetupBuilder.h"

using coremidi::ObjectGraph;
using coremidi::QueuedNotification;

namespace virtualmidi {

MIDIDeviceRef addDeviceTo(ObjectGraph& graph, const DeviceSpec& device, Notes& notes) {
  const MIDIDeviceRef added = graph.addDevice(device.name, device.listed);
  for (const EntitySpec& entity : device.entities) {
    const MIDIEntityRef entityRef = graph.addEntity(added, entity.name, entity.loopback);
    for (const EndpointSpec& source : entity.sources) {
      graph.addEndpoint(entityRef, kMIDIObjectType_Source, source.name,
                        source.advanceScheduleTimeMuSec);
    }
    for (const EndpointSpec& destination : entity.destinations) {
      graph.addEndpoint(entityRef, kMIDIObjectType_Destination, destination.name,
                        destination.advanceScheduleTimeMuSec);
    }
  }
  notes.push_back(QueuedNotification::addedOrRemoved(kMIDIMsgObjectAdded, 0, kMIDIObjectType_Other,
                                                     added, kMIDIObjectType_Device));
  return added;
}

MIDIEndpointRef addUnattachedTo(ObjectGraph& graph, MIDIObjectType type,
                                const EndpointSpec& endpoint, Notes& notes) {
  const MIDIEndpointRef added =
      graph.addEndpoint(0, type, endpoint.name, endpoint.advanceScheduleTimeMuSec);
  notes.push_back(QueuedNotification::addedOrRemoved(kMIDIMsgObjectAdded, 0, kMIDIObjectType_Other,
                                                     added, type));
  return added;
}

bool removeFrom(ObjectGraph& graph, MIDIObjectRef object, Notes& notes) {
  const coremidi::GraphObject* found = graph.find(object);
  if (!found) return false;
  const MIDIObjectType type = found->type;
  if (!graph.remove(object)) return false;
  notes.push_back(QueuedNotification::addedOrRemoved(kMIDIMsgObjectRemoved, 0,
                                                     kMIDIObjectType_Other, object, type));
  return true;
}

bool renameIn(ObjectGraph& graph, MIDIObjectRef object, const Name& name, Notes& notes) {
  const coremidi::GraphObject* found = graph.find(object);
  if (!found) return false;
  const MIDIObjectType type = found->type;
  graph.rename(object, name);
  notes.push_back(QueuedNotification::propertyChanged(object, type, kMIDIPropertyName));
  return true;
}

MIDIDeviceRef firstDeviceNamed(const ObjectGraph& graph, const std::string& name) {
  for (MIDIDeviceRef device : graph.allDevices()) {
    const coremidi::GraphObject* found = graph.find(device);
    if (found->name && *found->name == name) return device;
  }
  return 0;
}

}  // namespace virtualmidi
