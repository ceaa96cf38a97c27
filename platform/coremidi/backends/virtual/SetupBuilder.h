// Turns setup descriptions into objects of the graph, listing the notifications each change
// owes the clients.
#pragma once

#include <vector>

#include "Notifications.h"
#include "ObjectGraph.h"
#include "VirtualMidi.h"

namespace virtualmidi {

using Notes = std::vector<coremidi::QueuedNotification>;

MIDIDeviceRef addDeviceTo(coremidi::ObjectGraph& graph, const DeviceSpec& device, Notes& notes);
MIDIEndpointRef addUnattachedTo(coremidi::ObjectGraph& graph, MIDIObjectType type,
                                const EndpointSpec& endpoint, Notes& notes);
// A device or an unattached endpoint.
bool removeFrom(coremidi::ObjectGraph& graph, MIDIObjectRef object, Notes& notes);
bool renameIn(coremidi::ObjectGraph& graph, MIDIObjectRef object, const Name& name, Notes& notes);
MIDIDeviceRef firstDeviceNamed(const coremidi::ObjectGraph& graph, const std::string& name);

}  // namespace virtualmidi
