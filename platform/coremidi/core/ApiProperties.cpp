// Object properties: names (strings) of every object, clients and ports included, the advance
// scheduling time and a client's offline state (integers).
#include <optional>
#include <string>
#include <string_view>

#include "CallCounter.h"
#include "MidiServices.h"
#include "MidiSystem.h"
#include "Strings.h"

using coremidi::ApiFunction;
using coremidi::countCall;
using coremidi::GraphObject;
using coremidi::MidiSystem;
using coremidi::ObjectGraph;

namespace {

constexpr std::string_view kNameProperty = "name";
constexpr std::string_view kAdvanceScheduleProperty = "advanceScheduleTimeMuSec";
constexpr std::string_view kOfflineProperty = "offline";

bool isProperty(CFStringRef property, std::string_view name) {
  return property && coremidi::stringText(property) == name;
}

}  // namespace

extern "C" {

const CFStringRef kMIDIPropertyName = coremidi::makePermanentString(kNameProperty);
const CFStringRef kMIDIPropertyAdvanceScheduleTimeMuSec =
    coremidi::makePermanentString(kAdvanceScheduleProperty);
const CFStringRef kMIDIPropertyOffline = coremidi::makePermanentString(kOfflineProperty);

OSStatus MIDIObjectGetStringProperty(MIDIObjectRef object, CFStringRef propertyID,
                                     CFStringRef* outString) {
  countCall(ApiFunction::MIDIObjectGetStringProperty);
  if (!outString) return paramErr;
  *outString = nullptr;
  // Clients and ports are named by their creators, as devices are by their drivers.
  MidiSystem& system = MidiSystem::instance();
  if (std::optional<std::string> own = system.clientOrPortName(object)) {
    if (!isProperty(propertyID, kNameProperty)) return kMIDIUnknownProperty;
    *outString = coremidi::makeString(*own);
    return noErr;
  }
  coremidi::ObjectName name;
  const OSStatus status = system.readGraph([&](const ObjectGraph& graph) -> OSStatus {
    const GraphObject* found = graph.find(object);
    if (!found) return kMIDIObjectNotFound;
    if (!isProperty(propertyID, kNameProperty) || !found->name) return kMIDIUnknownProperty;
    name = found->name;
    return noErr;
  });
  if (status == noErr) *outString = coremidi::makeString(*name);
  return status;
}

OSStatus MIDIObjectGetIntegerProperty(MIDIObjectRef object, CFStringRef propertyID,
                                      SInt32* outValue) {
  countCall(ApiFunction::MIDIObjectGetIntegerProperty);
  if (!outValue) return paramErr;
  MidiSystem& system = MidiSystem::instance();
  if (system.isClient(object)) {
    if (!isProperty(propertyID, kOfflineProperty)) return kMIDIUnknownProperty;
    *outValue = system.backend().engineRuns() ? 0 : 1;
    return noErr;
  }
  return system.readGraph([&](const ObjectGraph& graph) -> OSStatus {
    const GraphObject* found = graph.find(object);
    if (!found) return kMIDIObjectNotFound;
    const bool isEndpoint =
        found->type == kMIDIObjectType_Source || found->type == kMIDIObjectType_Destination;
    if (!isEndpoint || !isProperty(propertyID, kAdvanceScheduleProperty)) {
      return kMIDIUnknownProperty;
    }
    *outValue = found->advanceScheduleTimeMuSec;
    return noErr;
  });
}

}  // extern "C"
