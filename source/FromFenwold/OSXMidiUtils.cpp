#include "OSXMidiUtils.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <limits>

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

// Marks `name` and every equal one of `earlier` as duplicates; `name` is numbered by how many
// earlier members of its group it equals.
void markDuplicates(DisambiguatedName& name, const std::vector<DisambiguatedName*>& earlier) {
  std::int32_t count = 0;
  for (DisambiguatedName* other : earlier) {
    if (other->text != name.text) continue;
    other->isDuplicate = true;
    name.isDuplicate = true;
    name.duplicateIndex = ++count;
  }
}

ItemCount endpointCountOf(MIDIEntityRef entity, Direction direction) {
  return direction == Direction::Sources ? MIDIEntityGetNumberOfSources(entity)
                                         : MIDIEntityGetNumberOfDestinations(entity);
}

MIDIEndpointRef endpointOf(MIDIEntityRef entity, ItemCount index, Direction direction) {
  return direction == Direction::Sources ? MIDIEntityGetSource(entity, index)
                                         : MIDIEntityGetDestination(entity, index);
}

void loadDevice(DeviceRecord& device, Direction direction) {
  device.name.text = midiObjectName(device.device);
  std::vector<DisambiguatedName*> earlierEntities;
  const ItemCount entityCount = MIDIDeviceGetNumberOfEntities(device.device);
  for (ItemCount i = 0; i < entityCount; ++i) {
    const MIDIEntityRef entity = MIDIDeviceGetEntity(device.device, i);
    if (entity == 0) continue;
    EntityRecord record;
    record.entity = entity;
    record.name.text = midiObjectName(entity);
    markDuplicates(record.name, earlierEntities);
    device.entities.push_back(std::move(record));
    // Names of records already appended: point into the vector only once it stops growing.
    earlierEntities.clear();
    for (EntityRecord& appended : device.entities) earlierEntities.push_back(&appended.name);
  }
  // Every entity record exists now, so pointers to them stay valid.
  for (EntityRecord& entity : device.entities) {
    const ItemCount endpointCount = endpointCountOf(entity.entity, direction);
    for (ItemCount i = 0; i < endpointCount; ++i) {
      const MIDIEndpointRef endpoint = endpointOf(entity.entity, i, direction);
      if (endpoint == 0) continue;
      EndpointRecord record;
      record.device = &device;
      record.entity = &entity;
      record.endpoint = endpoint;
      record.name.text = midiObjectName(endpoint);
      std::vector<DisambiguatedName*> earlier;
      for (EndpointRecord& appended : entity.endpoints) earlier.push_back(&appended.name);
      markDuplicates(record.name, earlier);
      entity.endpoints.push_back(std::move(record));
    }
  }
}

DeviceRecord* findDevice(MidiEndpointDirectory& directory, MIDIDeviceRef device) {
  for (DeviceRecord& record : directory.devices) {
    if (record.device == device) return &record;
  }
  return nullptr;
}

EndpointRecord* findEndpoint(DeviceRecord& device, MIDIEntityRef entity, MIDIEndpointRef endpoint) {
  for (EntityRecord& entityRecord : device.entities) {
    if (entityRecord.entity != entity) continue;
    for (EndpointRecord& record : entityRecord.endpoints) {
      if (record.endpoint == endpoint) return &record;
    }
    return nullptr;
  }
  return nullptr;
}

// An endpoint with an entity is reached through its device's records; one without gets a record
// of its own.
void addEndpoint(MidiEndpointDirectory& directory, MIDIEndpointRef endpoint, Direction direction) {
  MIDIEntityRef entity = 0;
  if (MIDIEndpointGetEntity(endpoint, &entity) == noErr && entity != 0) {
    MIDIDeviceRef device = 0;
    if (MIDIEntityGetDevice(entity, &device) != noErr || device == 0) return;
    DeviceRecord* deviceRecord = findDevice(directory, device);
    if (!deviceRecord) return;
    if (!deviceRecord->isLoaded) {
      loadDevice(*deviceRecord, direction);
      deviceRecord->isLoaded = true;
    }
    if (EndpointRecord* record = findEndpoint(*deviceRecord, entity, endpoint)) {
      directory.endpoints.push_back(record);
    }
    return;
  }
  auto record = std::make_unique<EndpointRecord>();
  record->endpoint = endpoint;
  record->name.text = midiObjectName(endpoint);
  record->shortName.text = record->name.text;
  directory.endpoints.push_back(record.get());
  directory.unattachedEndpoints.push_back(std::move(record));
}

void buildDirectory(MidiEndpointDirectory& directory, Direction direction) {
  // Every device record first: endpoint records point at them.
  const ItemCount deviceCount = MIDIGetNumberOfDevices();
  for (ItemCount i = 0; i < deviceCount; ++i) {
    const MIDIDeviceRef device = MIDIGetDevice(i);
    if (device == 0) continue;
    DeviceRecord record;
    record.device = device;
    directory.devices.push_back(std::move(record));
  }
  const bool sources = direction == Direction::Sources;
  const ItemCount endpointCount =
      sources ? MIDIGetNumberOfSources() : MIDIGetNumberOfDestinations();
  for (ItemCount i = 0; i < endpointCount; ++i) {
    const MIDIEndpointRef endpoint = sources ? MIDIGetSource(i) : MIDIGetDestination(i);
    if (endpoint != 0) addEndpoint(directory, endpoint, direction);
  }
  std::vector<DisambiguatedName*> earlierDevices;
  for (DeviceRecord& device : directory.devices) {
    if (!device.isLoaded) continue;
    markDuplicates(device.name, earlierDevices);
    earlierDevices.push_back(&device.name);
  }
}

// The endpoint's name without its device's name in front; unique within the device by suffix.
void assignShortNames(MidiEndpointDirectory& directory) {
  for (DeviceRecord& device : directory.devices) {
    if (!device.isLoaded) continue;
    const std::string& deviceName = device.name.text;
    std::vector<DisambiguatedName*> earlier;
    for (EntityRecord& entity : device.entities) {
      for (EndpointRecord& record : entity.endpoints) {
        std::string name = !record.name.text.empty() ? record.name.text : entity.name.text;
        if (name.starts_with(deviceName)) {
          std::size_t cut = deviceName.size();
          if (cut < name.size() && std::isspace(static_cast<unsigned char>(name[cut]))) ++cut;
          name.erase(0, cut);
        }
        record.shortName.text = name;
        record.shortName.duplicateIndex = 0;
        markDuplicates(record.shortName, earlier);
        earlier.push_back(&record.shortName);
      }
    }
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

// Names as scripts see them: unique over the whole list, equal ones numbered from (1).
void assignDisplayNames(MidiEndpointDirectory& directory) {
  std::vector<DisambiguatedName*> earlier;
  for (EndpointRecord* record : directory.endpoints) {
    record->displayName.text = displayNameOf(*record);
    record->displayName.duplicateIndex = 0;
    markDuplicates(record->displayName, earlier);
    earlier.push_back(&record->displayName);
  }
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
  buildDirectory(directory, direction);
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
