#include "MidiSystem.h"

#include <cstdlib>

#include "Diagnostics.h"
#include "HostClock.h"
#include "PacketLists.h"

namespace coremidi {
namespace {

constexpr const char* kDefaultBackend = "virtual";
constexpr const char* kBackendVariable = "TONVIK_MIDI_BACKEND";

std::mutex selectionMutex_;
std::string requestedBackend_;
bool systemMade_ = false;

std::unique_ptr<Backend> chooseBackend() {
  std::string name;
  {
    std::lock_guard lock(selectionMutex_);
    systemMade_ = true;
    name = requestedBackend_;
  }
  if (name.empty()) {
    const char* fromEnvironment = std::getenv(kBackendVariable);
    name = fromEnvironment && *fromEnvironment ? fromEnvironment : kDefaultBackend;
  }
  std::unique_ptr<Backend> backend = makeBackend(name);
  if (!backend) {
    diagnose("MIDI system: unknown backend \"%s\" in %s; using \"%s\".", name.c_str(),
             kBackendVariable, kDefaultBackend);
    backend = makeBackend(kDefaultBackend);
  }
  return backend;
}

}  // namespace

MidiSystem& MidiSystem::instance() {
  static MidiSystem* const system = [] {
    auto* made = new MidiSystem(chooseBackend());
    made->backend_->start(*made);
    return made;
  }();
  return *system;
}

bool MidiSystem::requestBackend(std::string_view name) {
  if (!makeBackend(name)) return false;
  std::lock_guard lock(selectionMutex_);
  if (systemMade_) return false;
  requestedBackend_ = name;
  return true;
}

MidiSystem::MidiSystem(std::unique_ptr<Backend> backend)
    : receiver_(inFlight_),
      scheduler_(
          inFlight_,
          [this](MIDIPortRef port, MIDIEndpointRef destination, const std::vector<Byte>& list) {
            arrive(port, destination, packetListIn(list));
          }),
      sysex_(inFlight_,
             [this](MIDIEndpointRef destination, const Byte* data, UInt16 length) {
               std::vector<Byte> list;
               beginPacketList(list);
               appendPacket(list, hostTimeNow(), data, length);
               arrive(0, destination, packetListIn(list));
             }),
      backend_(std::move(backend)) {}

OSStatus MidiSystem::createClient(const std::string& name, MIDINotifyProc notifyProc, void* refCon,
                                  MIDIClientRef* outClient) {
  if (!outClient) return paramErr;
  if (failures_.consume(midisystem::Failure::ClientCreate)) return kMIDIServerStartErr;
  const MIDIClientRef client = newObjectRef();
  if (const OSStatus status = backend_->clientCreated(client, name); status != noErr) {
    return status;
  }
  {
    std::lock_guard lock(mutex_);
    clients_[client].name = name;
  }
  notifications_.addClient(client, notifyProc, refCon);
  *outClient = client;
  return noErr;
}

OSStatus MidiSystem::disposeClient(MIDIClientRef client) {
  std::vector<MIDIPortRef> ports;
  {
    std::lock_guard lock(mutex_);
    auto found = clients_.find(client);
    if (found == clients_.end()) return kMIDIInvalidClient;
    ports = std::move(found->second.ports);
    clients_.erase(found);
    for (MIDIPortRef port : ports) ports_.erase(port);
  }
  for (MIDIPortRef port : ports) forgetPort(port);
  notifications_.removeClient(client);
  backend_->clientDisposed(client);
  return noErr;
}

bool MidiSystem::isClient(MIDIObjectRef object) {
  std::lock_guard lock(mutex_);
  return clients_.contains(object);
}

std::optional<std::string> MidiSystem::clientOrPortName(MIDIObjectRef object) {
  std::lock_guard lock(mutex_);
  if (const auto client = clients_.find(object); client != clients_.end()) {
    return client->second.name;
  }
  if (const auto port = ports_.find(object); port != ports_.end()) return port->second.name;
  return std::nullopt;
}

OSStatus MidiSystem::createPort(MIDIClientRef client, const std::string& name, bool isInput,
                                MIDIReadProc readProc, void* refCon, MIDIPortRef* outPort) {
  if (!outPort || (isInput && !readProc)) return paramErr;
  const MIDIPortRef port = newObjectRef();
  {
    std::lock_guard lock(mutex_);
    auto found = clients_.find(client);
    if (found == clients_.end()) return kMIDIInvalidClient;
    const auto failure =
        isInput ? midisystem::Failure::InputPortCreate : midisystem::Failure::OutputPortCreate;
    if (failures_.consume(failure)) return kMIDINotPermitted;
    ports_[port] = {client, name, isInput, readProc, refCon};
    found->second.ports.push_back(port);
  }
  // Outside the lock: a backend may talk to its engine, whose answers can take a while.
  if (const OSStatus status = backend_->portCreated(port, isInput, name); status != noErr) {
    std::lock_guard lock(mutex_);
    std::erase(clients_[client].ports, port);
    ports_.erase(port);
    return status;
  }
  *outPort = port;
  return noErr;
}

OSStatus MidiSystem::createInputPort(MIDIClientRef client, const std::string& name,
                                     MIDIReadProc readProc, void* refCon, MIDIPortRef* outPort) {
  return createPort(client, name, true, readProc, refCon, outPort);
}

OSStatus MidiSystem::createOutputPort(MIDIClientRef client, const std::string& name,
                                      MIDIPortRef* outPort) {
  return createPort(client, name, false, nullptr, nullptr, outPort);
}

OSStatus MidiSystem::disposePort(MIDIPortRef port) {
  {
    std::lock_guard lock(mutex_);
    auto found = ports_.find(port);
    if (found == ports_.end()) return kMIDIInvalidPort;
    std::erase(clients_[found->second.client].ports, port);
    ports_.erase(found);
  }
  forgetPort(port);
  return noErr;
}

void MidiSystem::forgetPort(MIDIPortRef port) {
  receiver_.disposePort(port);
  backend_->portDisposed(port);
}

OSStatus MidiSystem::connectSource(MIDIPortRef port, MIDIEndpointRef source,
                                   void* connectionRefCon) {
  InputConnection connection{port, source, nullptr, nullptr, connectionRefCon};
  {
    std::lock_guard lock(mutex_);
    auto found = ports_.find(port);
    if (found == ports_.end() || !found->second.isInput) return kMIDIInvalidPort;
    if (!graph_.isType(source, kMIDIObjectType_Source)) return kMIDIUnknownEndpoint;
    if (failures_.consume(midisystem::Failure::ConnectSource)) return kMIDINotPermitted;
    connection.readProc = found->second.readProc;
    connection.portRefCon = found->second.refCon;
    if (!backend_->readsInputPorts()) {
      // The receiver never waits for this lock, so taking its own lock inside cannot deadlock.
      receiver_.connect(port, source, connection.readProc, connection.portRefCon, connectionRefCon);
      return noErr;
    }
  }
  return backend_->connectInput(connection);
}

OSStatus MidiSystem::disconnectSource(MIDIPortRef port, MIDIEndpointRef source) {
  {
    std::lock_guard lock(mutex_);
    auto found = ports_.find(port);
    if (found == ports_.end() || !found->second.isInput) return kMIDIInvalidPort;
  }
  const bool wasConnected = backend_->readsInputPorts() ? backend_->disconnectInput(port, source)
                                                        : receiver_.disconnect(port, source);
  return wasConnected ? noErr : kMIDINoConnection;
}

OSStatus MidiSystem::send(MIDIPortRef port, MIDIEndpointRef destination,
                          const MIDIPacketList* packets) {
  if (!packets) return paramErr;
  {
    std::lock_guard lock(mutex_);
    auto found = ports_.find(port);
    if (found == ports_.end() || found->second.isInput) return kMIDIInvalidPort;
    if (!graph_.isType(destination, kMIDIObjectType_Destination)) return kMIDIUnknownEndpoint;
  }
  if (failures_.consume(midisystem::Failure::Send)) return kMIDIMessageSendErr;
  const MIDITimeStamp lead = backend_->deliveryLead();
  const MIDITimeStamp handOverBy = hostTimeNow() + lead;
  std::vector<Byte> immediate;
  beginPacketList(immediate);
  forEachPacket(packets, [&](const MIDIPacket& packet) {
    const Byte* data = reinterpret_cast<const Byte*>(&packet) + kMIDIPacketHeaderSize;
    const MIDITimeStamp due = packet.timeStamp;
    if (due == 0 || due <= handOverBy) {
      appendPacket(immediate, due, data, packet.length);
    } else {
      scheduler_.schedule(port, destination, due - lead, due, data, packet.length);
    }
  });
  if (packetCount(immediate) > 0) arrive(port, destination, packetListIn(immediate));
  return noErr;
}

OSStatus MidiSystem::sendSysex(MIDISysexSendRequest* request) {
  if (!request || (!request->data && request->bytesToSend > 0)) return paramErr;
  {
    std::lock_guard lock(mutex_);
    if (!graph_.isType(request->destination, kMIDIObjectType_Destination)) {
      return kMIDIUnknownEndpoint;
    }
  }
  if (failures_.consume(midisystem::Failure::SendSysex)) return kMIDIMessageSendErr;
  backend_->sysexRequested(request->destination);
  sysex_.submit(request, failures_.consume(midisystem::Failure::SysexComplete));
  return noErr;
}

void MidiSystem::changeGraph(
    const std::function<void(ObjectGraph&, std::vector<QueuedNotification>&)>& change) {
  std::vector<QueuedNotification> notifications;
  {
    std::lock_guard lock(mutex_);
    change(graph_, notifications);
  }
  if (notifications.empty()) return;
  notifications.push_back(QueuedNotification::setupChanged());
  notifications_.post(notifications);
}

std::uint64_t MidiSystem::receive(MIDIEndpointRef source, const std::vector<Byte>& packetList) {
  return receiver_.deliver(source, packetList);
}

void MidiSystem::arrive(MIDIPortRef port, MIDIEndpointRef destination,
                        const MIDIPacketList* packets) {
  {
    std::lock_guard lock(mutex_);
    if (!graph_.isType(destination, kMIDIObjectType_Destination)) return;
  }
  backend_->deliver(port, destination, packets);
}

}  // namespace coremidi
