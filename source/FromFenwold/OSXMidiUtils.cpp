#include "OSXMidiUtils.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <unordered_map>
#include <utility>

#include "CFString.h"
#include "IntToString.h"
#include "TonvikAssert.h"

namespace {

constexpr const char* kMidiClientName = "Tonvik Xtra";
constexpr const char* kIdentifierIndexSeparator = ",";
constexpr const char* kIdentifierLevelSeparator = "%";
constexpr const char* kDisplayNameSeparator = " ";

enum class Direction { Sources, Destinations };

// Host thread only, and so are the notifications that move the change count: no atomics needed.
MIDIClientRef globalMidiClient_ = 0;
std::int32_t globalMidiClientRefCount_ = 0;
std::vector<MidiDeviceConfigurationChangeListener*> deviceConfigurationChangeListeners_;
std::uint32_t deviceConfigurationChangeCount_ = 0;

// One below the change count at load, so that the first query builds.
constexpr std::uint32_t kNeverBuilt = std::numeric_limits<std::uint32_t>::max();
MidiEndpointDirectory sourceDirectory_{kNeverBuilt, {}, {}, {}};
MidiEndpointDirectory destinationDirectory_{kNeverBuilt, {}, {}, {}};

// Numbers a group of names: each by how many earlier members of the group have equal text, and
// every member of a set of equal texts is marked a duplicate. Sorted, so that a thousand names
// cost n log n comparisons rather than n squared; the stable sort keeps equal texts in group
// order.
void numberDuplicates(std::vector<DisambiguatedName*> group) {
  std::stable_sort(
      group.begin(), group.end(),
      [](const DisambiguatedName* a, const DisambiguatedName* b) { return a->text < b->text; });
  for (std::size_t first = 0; first < group.size();) {
    std::size_t end = first + 1;
    while (end < group.size() && group[end]->text == group[first]->text) ++end;
    for (std::size_t i = first; i < end; ++i) {
      group[i]->isDuplicate = end - first > 1;
      group[i]->duplicateIndex = static_cast<std::int32_t>(i - first);
    }
    first = end;
  }
}

// The same for one name of each record of a vector.
template <typename Record>
void numberDuplicates(std::vector<Record>& records, DisambiguatedName Record::*name) {
  if (records.size() < 2) return;  // a fresh name is numbered already: no duplicate, index 0
  std::vector<DisambiguatedName*> group;
  group.reserve(records.size());
  for (Record& record : records) group.push_back(&(record.*name));
  numberDuplicates(std::move(group));
}

ItemCount endpointCountOf(MIDIEntityRef entity, Direction direction) {
  return direction == Direction::Sources ? MIDIEntityGetNumberOfSources(entity)
                                         : MIDIEntityGetNumberOfDestinations(entity);
}

MIDIEndpointRef endpointOf(MIDIEntityRef entity, ItemCount index, Direction direction) {
  return direction == Direction::Sources ? MIDIEntityGetSource(entity, index)
                                         : MIDIEntityGetDestination(entity, index);
}

// Fills one directory from the MIDI system. Devices and the endpoints of loaded devices are
// found through indices by reference, so that each endpoint costs the same however many there
// are.
class DirectoryBuilder {
 public:
  DirectoryBuilder(MidiEndpointDirectory& directory, Direction direction)
      : directory_(directory), direction_(direction) {}

  void build() {
    addDevices();
    const bool sources = direction_ == Direction::Sources;
    const ItemCount endpointCount =
        sources ? MIDIGetNumberOfSources() : MIDIGetNumberOfDestinations();
    endpointsByRef_.reserve(endpointCount);
    for (ItemCount i = 0; i < endpointCount; ++i) {
      const MIDIEndpointRef endpoint = sources ? MIDIGetSource(i) : MIDIGetDestination(i);
      if (endpoint != 0) addEndpoint(endpoint);
    }
    std::vector<DisambiguatedName*> deviceNames;
    for (DeviceRecord& device : directory_.devices) {
      if (device.isLoaded) deviceNames.push_back(&device.name);
    }
    numberDuplicates(std::move(deviceNames));
  }

 private:
  // Every device record first: endpoint records point at them.
  void addDevices() {
    const ItemCount deviceCount = MIDIGetNumberOfDevices();
    for (ItemCount i = 0; i < deviceCount; ++i) {
      const MIDIDeviceRef device = MIDIGetDevice(i);
      if (device == 0) continue;
      DeviceRecord record;
      record.device = device;
      directory_.devices.push_back(std::move(record));
    }
    // The vector is complete, so pointers into it hold; the first of equal references wins.
    devicesByRef_.reserve(directory_.devices.size());
    for (DeviceRecord& record : directory_.devices) devicesByRef_.emplace(record.device, &record);
  }

  // An endpoint with an entity is reached through its device's records; one without gets a
  // record of its own.
  void addEndpoint(MIDIEndpointRef endpoint) {
    MIDIEntityRef entity = 0;
    if (MIDIEndpointGetEntity(endpoint, &entity) == noErr && entity != 0) {
      MIDIDeviceRef device = 0;
      if (MIDIEntityGetDevice(entity, &device) != noErr || device == 0) return;
      const auto found = devicesByRef_.find(device);
      if (found == devicesByRef_.end()) return;
      DeviceRecord& deviceRecord = *found->second;
      if (!deviceRecord.isLoaded) {
        loadDevice(deviceRecord);
        deviceRecord.isLoaded = true;
      }
      if (EndpointRecord* record = loadedEndpoint(entity, endpoint)) {
        directory_.endpoints.push_back(record);
      }
      return;
    }
    auto record = std::make_unique<EndpointRecord>();
    record->endpoint = endpoint;
    record->name.text = midiObjectName(endpoint);
    record->shortName.text = record->name.text;
    directory_.endpoints.push_back(record.get());
    directory_.unattachedEndpoints.push_back(std::move(record));
  }

  void loadDevice(DeviceRecord& device) {
    device.name.text = midiObjectName(device.device);
    const ItemCount entityCount = MIDIDeviceGetNumberOfEntities(device.device);
    for (ItemCount i = 0; i < entityCount; ++i) {
      const MIDIEntityRef entity = MIDIDeviceGetEntity(device.device, i);
      if (entity == 0) continue;
      EntityRecord& record = device.entities.emplace_back();
      record.entity = entity;
      record.name.text = midiObjectName(entity);
    }
    numberDuplicates(device.entities, &EntityRecord::name);
    // Every entity record exists now, so pointers to them stay valid.
    for (EntityRecord& entity : device.entities) loadEndpoints(device, entity);
  }

  void loadEndpoints(DeviceRecord& device, EntityRecord& entity) {
    const ItemCount endpointCount = endpointCountOf(entity.entity, direction_);
    for (ItemCount i = 0; i < endpointCount; ++i) {
      const MIDIEndpointRef endpoint = endpointOf(entity.entity, i, direction_);
      if (endpoint == 0) continue;
      EndpointRecord& record = entity.endpoints.emplace_back();
      record.device = &device;
      record.entity = &entity;
      record.endpoint = endpoint;
      record.name.text = midiObjectName(endpoint);
    }
    numberDuplicates(entity.endpoints, &EndpointRecord::name);
    for (EndpointRecord& record : entity.endpoints) {
      endpointsByRef_.emplace(record.endpoint, &record);
    }
  }

  // The record of a loaded device's endpoint, if it lies in the entity the system names for it.
  EndpointRecord* loadedEndpoint(MIDIEntityRef entity, MIDIEndpointRef endpoint) const {
    const auto found = endpointsByRef_.find(endpoint);
    if (found == endpointsByRef_.end() || found->second->entity->entity != entity) return nullptr;
    return found->second;
  }

  MidiEndpointDirectory& directory_;
  const Direction direction_;
  std::unordered_map<MIDIDeviceRef, DeviceRecord*> devicesByRef_;
  std::unordered_map<MIDIEndpointRef, EndpointRecord*> endpointsByRef_;
};

// The endpoint's name without its device's name in front; unique within the device by suffix.
void assignShortNames(MidiEndpointDirectory& directory) {
  for (DeviceRecord& device : directory.devices) {
    if (!device.isLoaded) continue;
    const std::string& deviceName = device.name.text;
    std::vector<DisambiguatedName*> shortNames;
    for (EntityRecord& entity : device.entities) {
      for (EndpointRecord& record : entity.endpoints) {
        std::string name = !record.name.text.empty() ? record.name.text : entity.name.text;
        if (name.starts_with(deviceName)) {
          std::size_t cut = deviceName.size();
          if (cut < name.size() && std::isspace(static_cast<unsigned char>(name[cut]))) ++cut;
          name.erase(0, cut);
        }
        record.shortName.text = std::move(name);
        shortNames.push_back(&record.shortName);
      }
    }
    numberDuplicates(std::move(shortNames));
  }
}

std::string displayNameOf(const EndpointRecord& record) {
  const DeviceRecord* device = record.device;
  const std::string deviceName = device ? device->name.text : std::string();
  std::string numberedDeviceName = deviceName;
  if (device && device->name.isDuplicate) {
    numberedDeviceName += duplicateSuffix(device->name.duplicateIndex);
  }
  const std::string entityName = record.entity ? record.entity->name.text : std::string();
  const std::string& endpointName = record.name.text;
  std::string shortName = record.shortName.text;
  if (record.shortName.isDuplicate) shortName += duplicateSuffix(record.shortName.duplicateIndex);

  if (deviceName.empty() && entityName.empty()) return endpointName;
  if (deviceName.empty() && endpointName.empty()) return entityName;
  if (!deviceName.empty() && endpointName.empty() && entityName.empty()) {
    return numberedDeviceName + shortName;
  }
  if (device && device->entities.size() == 1 && !deviceName.empty()) return numberedDeviceName;
  return numberedDeviceName + kDisplayNameSeparator + shortName;
}

// Names as scripts see them: unique over the whole list, equal ones numbered from (1). The
// numbering compares the texts before any suffix is added.
void assignDisplayNames(MidiEndpointDirectory& directory) {
  std::vector<DisambiguatedName*> displayNames;
  for (EndpointRecord* record : directory.endpoints) {
    record->displayName.text = displayNameOf(*record);
    displayNames.push_back(&record->displayName);
  }
  numberDuplicates(std::move(displayNames));
  for (EndpointRecord* record : directory.endpoints) {
    if (record->displayName.isDuplicate) {
      record->displayName.text += duplicateSuffix(record->displayName.duplicateIndex);
    }
  }
}

void refreshDirectory(MidiEndpointDirectory& directory, Direction direction) {
  if (directory.builtAtChangeCount == deviceConfigurationChangeCount_) return;
  directory.unattachedEndpoints.clear();
  directory.devices.clear();
  directory.endpoints.clear();
  DirectoryBuilder(directory, direction).build();
  assignShortNames(directory);
  assignDisplayNames(directory);
  directory.builtAtChangeCount = deviceConfigurationChangeCount_;
}

void listDirectory(MidiEndpointDirectory& directory, Direction direction, DeviceList& devices) {
  refreshDirectory(directory, direction);
  for (const EndpointRecord* record : directory.endpoints) {
    devices.append(DeviceListEntry(record->displayName.text, endpointIdentifier(*record)));
  }
}

MIDIEndpointRef lookUp(MidiEndpointDirectory& directory, Direction direction,
                       const DeviceListEntry& wanted) {
  refreshDirectory(directory, direction);
  const std::string& identifier = wanted.second;
  for (const EndpointRecord* record : directory.endpoints) {
    // The leading name decides most mismatches without building an identifier.
    const std::string& leadingName =
        record->device && record->entity ? record->device->name.text : record->name.text;
    if (!identifier.starts_with(leadingName)) continue;
    if (endpointIdentifier(*record) == identifier) return record->endpoint;
  }
  return 0;
}

std::string nameWithIndex(const DisambiguatedName& name) {
  return name.text + kIdentifierIndexSeparator + IntToString(name.duplicateIndex).c_str();
}

// True while the MIDI server behind the client is gone. A system that does not know the property
// answers an error, and its client counts as online.
bool isOffline(MIDIClientRef client) {
  SInt32 offline = 0;
  return MIDIObjectGetIntegerProperty(client, kMIDIPropertyOffline, &offline) == noErr &&
         offline != 0;
}

}  // namespace

MIDIClientRef fwAcquireMidiClient() {
  // The client made before the server went away is not handed out again until it comes back: a
  // caller then reports the missing server, as for a client that cannot be made. Those that hold
  // the client keep it.
  if (globalMidiClient_ != 0 && isOffline(globalMidiClient_)) return 0;
  if (globalMidiClient_ == 0) {
    CFStringRef name =
        CFStringCreateWithCString(kCFAllocatorDefault, kMidiClientName, kCFStringEncodingASCII);
    const OSStatus status =
        MIDIClientCreate(name, midiClientNotifyProc, nullptr, &globalMidiClient_);
    CFRelease(name);
    if (status != noErr) {
      globalMidiClient_ = 0;
      return 0;
    }
  }
  ++globalMidiClientRefCount_;
  return globalMidiClient_;
}

void fwReleaseMidiClient(MIDIClientRef client) {
  if (client == 0) return;
  TONVIK_ASSERT(client == globalMidiClient_);
  if (globalMidiClientRefCount_-- == 1) {
    MIDIClientDispose(client);
    globalMidiClient_ = 0;
  }
}

bool fwCreateMidiPort(const std::string& portName, MIDIReadProc readProc, void* refCon,
                      bool verbose, MIDIClientRef& client, MIDIPortRef& port) {
  const bool isInput = readProc != nullptr;
  const char* operation = isInput ? "CreateInputPort" : "CreateOutputPort";
  client = fwAcquireMidiClient();
  if (client == 0) {
    if (verbose) {
      std::fprintf(stderr, "ERROR: [%s] Return from fwAcquireMidiClient was 0.\n", operation);
    }
    return false;
  }
  CFStringRef name =
      CFStringCreateWithCString(kCFAllocatorDefault, portName.c_str(), kCFStringEncodingASCII);
  const OSStatus status = isInput ? MIDIInputPortCreate(client, name, readProc, refCon, &port)
                                  : MIDIOutputPortCreate(client, name, &port);
  CFRelease(name);
  if (status == noErr && port != 0) {
    if (verbose) {
      std::fprintf(stderr, "INFO: [%s] %s port \"%s\" created.\n", operation,
                   isInput ? "Input" : "Output", portName.c_str());
    }
    return true;
  }
  port = 0;
  fwReleaseMidiClient(client);
  client = 0;
  if (verbose) {
    std::fprintf(stderr, "ERROR: [%s] Return from %s was %i.\n", operation,
                 isInput ? "MIDIInputPortCreate" : "MIDIOutputPortCreate",
                 static_cast<int>(status));
  }
  return false;
}

void fwDisposeMidiPort(bool verbose, MIDIClientRef& client, MIDIPortRef& port) {
  OSStatus status = noErr;
  if (port != 0) status = MIDIPortDispose(port);
  if (verbose) {
    std::fprintf(stderr, "INFO: Error status on Port disposal: Port: %d.\n",
                 static_cast<int>(status));
  }
  port = 0;
  fwReleaseMidiClient(client);
  client = 0;
}

void fwAttachMidiDeviceConfigurationChangeListener(
    MidiDeviceConfigurationChangeListener* listener) {
  deviceConfigurationChangeListeners_.push_back(listener);
}

void fwDetachMidiDeviceConfigurationChangeListener(
    MidiDeviceConfigurationChangeListener* listener) {
  auto i = std::find(deviceConfigurationChangeListeners_.begin(),
                     deviceConfigurationChangeListeners_.end(), listener);
  TONVIK_ASSERT(i != deviceConfigurationChangeListeners_.end());
  deviceConfigurationChangeListeners_.erase(i);
}

std::uint32_t fwDeviceConfigurationChangeCount() {
  return deviceConfigurationChangeCount_;
}

void midiClientNotifyProc(const MIDINotification* message, void*) {
  ++deviceConfigurationChangeCount_;
  switch (message->messageID) {
    case kMIDIMsgObjectAdded:
    case kMIDIMsgObjectRemoved:
    case kMIDIMsgPropertyChanged:
      // By index: a listener may detach itself while being told.
      for (std::size_t i = 0; i < deviceConfigurationChangeListeners_.size(); ++i) {
        deviceConfigurationChangeListeners_[i]->deviceConfigurationChanged();
      }
      break;
    default:
      break;
  }
}

void fwGetMidiInputDevices(DeviceList& devices) {
  listDirectory(sourceDirectory_, Direction::Sources, devices);
}

void fwGetMidiOutputDevices(DeviceList& devices) {
  listDirectory(destinationDirectory_, Direction::Destinations, devices);
}

MIDIEndpointRef fwFindMidiSourceEndpoint(const DeviceListEntry& device) {
  return lookUp(sourceDirectory_, Direction::Sources, device);
}

MIDIEndpointRef fwFindMidiDestinationEndpoint(const DeviceListEntry& device) {
  return lookUp(destinationDirectory_, Direction::Destinations, device);
}

std::string endpointIdentifier(const EndpointRecord& record) {
  if (record.device && record.entity) {
    return nameWithIndex(record.device->name) + kIdentifierLevelSeparator +
           nameWithIndex(record.entity->name) + kIdentifierLevelSeparator +
           nameWithIndex(record.name);
  }
  return nameWithIndex(record.name);
}

std::string midiObjectName(MIDIObjectRef object) {
  std::string name;
  CFStringRef string = nullptr;
  const OSStatus status = MIDIObjectGetStringProperty(object, kMIDIPropertyName, &string);
  if (status == noErr && string) {
    const CFIndex size =
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingASCII);
    if (size >= 1) {
      const auto bufferSize = static_cast<std::size_t>(size) + 1;
      if (auto* buffer = static_cast<char*>(std::calloc(bufferSize, 1))) {
        if (CFStringGetCString(string, buffer, size + 1, kCFStringEncodingASCII)) name = buffer;
        std::free(buffer);
      }
    }
  }
  if (string) CFRelease(string);
  return name;
}

std::string duplicateSuffix(std::int32_t duplicateIndex) {
  return std::string(" (") + IntToString(duplicateIndex + 1).c_str() + ")";
}
