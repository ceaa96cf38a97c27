#include "ObjectGraph.h"

#include <algorithm>
#include <atomic>

namespace coremidi {
namespace {

// Small references look like indices; starting higher makes a confused index fail visibly.
constexpr MIDIObjectRef kFirstObjectRef = 0x1000;

template <typename T>
void eraseValue(std::vector<T>& values, T value) {
  values.erase(std::remove(values.begin(), values.end(), value), values.end());
}

}  // namespace

MIDIObjectRef newObjectRef() {
  static std::atomic<MIDIObjectRef> next{kFirstObjectRef};
  return next.fetch_add(1, std::memory_order_relaxed);
}

std::pair<MIDIObjectRef, GraphObject&> ObjectGraph::addObject(MIDIObjectType type,
                                                              const ObjectName& name,
                                                              MIDIObjectRef parent) {
  const MIDIObjectRef ref = newObjectRef();
  GraphObject& object = objects_[ref];
  object.type = type;
  object.name = name;
  object.parent = parent;
  return {ref, object};
}

MIDIDeviceRef ObjectGraph::addDevice(const ObjectName& name, bool listed) {
  auto [device, object] = addObject(kMIDIObjectType_Device, name, 0);
  object.listed = listed;
  allDevices_.push_back(device);
  if (listed) listedDevices_.push_back(device);
  return device;
}

MIDIEntityRef ObjectGraph::addEntity(MIDIDeviceRef device, const ObjectName& name, bool loopback) {
  auto [entity, object] = addObject(kMIDIObjectType_Entity, name, device);
  object.loopback = loopback;
  objects_.at(device).entities.push_back(entity);
  return entity;
}

MIDIEndpointRef ObjectGraph::addEndpoint(MIDIEntityRef entity, MIDIObjectType type,
                                         const ObjectName& name, SInt32 advanceScheduleTimeMuSec) {
  auto [endpoint, object] = addObject(type, name, entity);
  object.advanceScheduleTimeMuSec = advanceScheduleTimeMuSec;
  const bool isSource = type == kMIDIObjectType_Source;
  (isSource ? sources_ : destinations_).push_back(endpoint);
  if (entity != 0) {
    GraphObject& owner = objects_.at(entity);
    (isSource ? owner.sources : owner.destinations).push_back(endpoint);
  } else {
    unattached_.push_back(endpoint);
  }
  return endpoint;
}

bool ObjectGraph::remove(MIDIObjectRef object) {
  const GraphObject* found = find(object);
  if (!found) return false;
  if (found->type == kMIDIObjectType_Device) {
    for (MIDIEntityRef entity : found->entities) {
      const GraphObject& owner = objects_.at(entity);
      for (MIDIEndpointRef source : owner.sources) forget(source);
      for (MIDIEndpointRef destination : owner.destinations) forget(destination);
      forget(entity);
    }
    forget(object);
    return true;
  }
  if (found->type == kMIDIObjectType_Entity) {
    for (MIDIEndpointRef source : found->sources) forget(source);
    for (MIDIEndpointRef destination : found->destinations) forget(destination);
    eraseValue(objects_.at(found->parent).entities, object);
    forget(object);
    return true;
  }
  const bool isEndpoint =
      found->type == kMIDIObjectType_Source || found->type == kMIDIObjectType_Destination;
  if (!isEndpoint || found->parent != 0) return false;
  forget(object);
  return true;
}

void ObjectGraph::forget(MIDIObjectRef object) {
  eraseValue(listedDevices_, object);
  eraseValue(allDevices_, object);
  eraseValue(sources_, object);
  eraseValue(destinations_, object);
  eraseValue(unattached_, object);
  objects_.erase(object);
}

bool ObjectGraph::rename(MIDIObjectRef object, const ObjectName& name) {
  auto found = objects_.find(object);
  if (found == objects_.end()) return false;
  found->second.name = name;
  return true;
}

const GraphObject* ObjectGraph::find(MIDIObjectRef object) const {
  auto found = objects_.find(object);
  return found == objects_.end() ? nullptr : &found->second;
}

bool ObjectGraph::isType(MIDIObjectRef object, MIDIObjectType type) const {
  const GraphObject* found = find(object);
  return found && found->type == type;
}

MIDIEndpointRef ObjectGraph::loopbackSourceOf(MIDIEndpointRef destination) const {
  const GraphObject* endpoint = find(destination);
  if (!endpoint || endpoint->type != kMIDIObjectType_Destination || endpoint->parent == 0) {
    return 0;
  }
  const GraphObject& entity = objects_.at(endpoint->parent);
  if (!entity.loopback) return 0;
  auto position = std::find(entity.destinations.begin(), entity.destinations.end(), destination);
  const auto index = static_cast<std::size_t>(position - entity.destinations.begin());
  return index < entity.sources.size() ? entity.sources[index] : 0;
}

}  // namespace coremidi
