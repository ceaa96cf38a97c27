// The enumeration functions of the C API: devices, entities, endpoints and the global order.
#include "CallCounter.h"
#include "MidiServices.h"
#include "MidiSystem.h"

using coremidi::ApiFunction;
using coremidi::countCall;
using coremidi::GraphObject;
using coremidi::MidiSystem;
using coremidi::ObjectGraph;

namespace {

template <typename T>
T at(const std::vector<T>& values, ItemCount index) {
  return index < values.size() ? values[index] : T{};
}

const GraphObject* findOfType(const ObjectGraph& graph, MIDIObjectRef object, MIDIObjectType type) {
  const GraphObject* found = graph.find(object);
  return found && found->type == type ? found : nullptr;
}

bool isEndpoint(const GraphObject* object) {
  return object &&
         (object->type == kMIDIObjectType_Source || object->type == kMIDIObjectType_Destination);
}

}  // namespace

extern "C" {

ItemCount MIDIGetNumberOfDevices() {
  countCall(ApiFunction::MIDIGetNumberOfDevices);
  return MidiSystem::instance().readGraph(
      [](const ObjectGraph& graph) -> ItemCount { return graph.listedDevices().size(); });
}

MIDIDeviceRef MIDIGetDevice(ItemCount deviceIndex) {
  countCall(ApiFunction::MIDIGetDevice);
  return MidiSystem::instance().readGraph(
      [&](const ObjectGraph& graph) { return at(graph.listedDevices(), deviceIndex); });
}

ItemCount MIDIDeviceGetNumberOfEntities(MIDIDeviceRef device) {
  countCall(ApiFunction::MIDIDeviceGetNumberOfEntities);
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> ItemCount {
    const GraphObject* found = findOfType(graph, device, kMIDIObjectType_Device);
    return found ? found->entities.size() : 0;
  });
}

MIDIEntityRef MIDIDeviceGetEntity(MIDIDeviceRef device, ItemCount entityIndex) {
  countCall(ApiFunction::MIDIDeviceGetEntity);
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> MIDIEntityRef {
    const GraphObject* found = findOfType(graph, device, kMIDIObjectType_Device);
    return found ? at(found->entities, entityIndex) : 0;
  });
}

OSStatus MIDIEntityGetDevice(MIDIEntityRef entity, MIDIDeviceRef* outDevice) {
  countCall(ApiFunction::MIDIEntityGetDevice);
  if (!outDevice) return paramErr;
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> OSStatus {
    const GraphObject* found = findOfType(graph, entity, kMIDIObjectType_Entity);
    *outDevice = found ? found->parent : 0;
    return found ? noErr : kMIDIObjectNotFound;
  });
}

ItemCount MIDIEntityGetNumberOfSources(MIDIEntityRef entity) {
  countCall(ApiFunction::MIDIEntityGetNumberOfSources);
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> ItemCount {
    const GraphObject* found = findOfType(graph, entity, kMIDIObjectType_Entity);
    return found ? found->sources.size() : 0;
  });
}

MIDIEndpointRef MIDIEntityGetSource(MIDIEntityRef entity, ItemCount sourceIndex) {
  countCall(ApiFunction::MIDIEntityGetSource);
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> MIDIEndpointRef {
    const GraphObject* found = findOfType(graph, entity, kMIDIObjectType_Entity);
    return found ? at(found->sources, sourceIndex) : 0;
  });
}

ItemCount MIDIEntityGetNumberOfDestinations(MIDIEntityRef entity) {
  countCall(ApiFunction::MIDIEntityGetNumberOfDestinations);
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> ItemCount {
    const GraphObject* found = findOfType(graph, entity, kMIDIObjectType_Entity);
    return found ? found->destinations.size() : 0;
  });
}

MIDIEndpointRef MIDIEntityGetDestination(MIDIEntityRef entity, ItemCount destIndex) {
  countCall(ApiFunction::MIDIEntityGetDestination);
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> MIDIEndpointRef {
    const GraphObject* found = findOfType(graph, entity, kMIDIObjectType_Entity);
    return found ? at(found->destinations, destIndex) : 0;
  });
}

OSStatus MIDIEndpointGetEntity(MIDIEndpointRef endpoint, MIDIEntityRef* outEntity) {
  countCall(ApiFunction::MIDIEndpointGetEntity);
  if (!outEntity) return paramErr;
  return MidiSystem::instance().readGraph([&](const ObjectGraph& graph) -> OSStatus {
    const GraphObject* found = graph.find(endpoint);
    *outEntity = isEndpoint(found) ? found->parent : 0;
    return isEndpoint(found) ? noErr : kMIDIObjectNotFound;
  });
}

ItemCount MIDIGetNumberOfSources() {
  countCall(ApiFunction::MIDIGetNumberOfSources);
  return MidiSystem::instance().readGraph(
      [](const ObjectGraph& graph) -> ItemCount { return graph.sources().size(); });
}

MIDIEndpointRef MIDIGetSource(ItemCount sourceIndex) {
  countCall(ApiFunction::MIDIGetSource);
  return MidiSystem::instance().readGraph(
      [&](const ObjectGraph& graph) { return at(graph.sources(), sourceIndex); });
}

ItemCount MIDIGetNumberOfDestinations() {
  countCall(ApiFunction::MIDIGetNumberOfDestinations);
  return MidiSystem::instance().readGraph(
      [](const ObjectGraph& graph) -> ItemCount { return graph.destinations().size(); });
}

MIDIEndpointRef MIDIGetDestination(ItemCount destIndex) {
  countCall(ApiFunction::MIDIGetDestination);
  return MidiSystem::instance().readGraph(
      [&](const ObjectGraph& graph) { return at(graph.destinations(), destIndex); });
}

}  // extern "C"
