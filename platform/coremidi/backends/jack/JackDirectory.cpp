// The other JACK clients' MIDI ports as devices, entities and endpoints. Runs with controlMutex_
// held, never on JACK's own threads: its notification thread may ask the server nothing.
#include <jack/metadata.h>

#include <algorithm>
#include <vector>

#include "JackBackend.h"
#include "MidiSystem.h"

namespace jackmidi {
namespace {

using coremidi::ObjectGraph;
using coremidi::QueuedNotification;

// The name a person gave the port, if any, else its short name.
std::string shownNameOf(jack_port_t* port) {
  char* value = nullptr;
  char* type = nullptr;
  std::string shown;
  if (jack_get_property(jack_port_uuid(port), JACK_METADATA_PRETTY_NAME, &value, &type) == 0 &&
      value && *value) {
    shown = value;
  }
  jack_free(value);
  jack_free(type);
  return shown.empty() ? jack_port_short_name(port) : shown;
}

// An entity with one endpoint, both named like the port. `notes` null: the device is new and is
// announced as a whole.
void addPort(ObjectGraph& graph, MIDIDeviceRef device, auto& port,
             std::vector<QueuedNotification>* notes) {
  port.entity = graph.addEntity(device, port.shownName, false);
  const MIDIObjectType type = port.isSource ? kMIDIObjectType_Source : kMIDIObjectType_Destination;
  port.endpoint = graph.addEndpoint(port.entity, type, port.shownName, 0);
  if (notes) {
    notes->push_back(QueuedNotification::addedOrRemoved(
        kMIDIMsgObjectAdded, device, kMIDIObjectType_Device, port.entity, kMIDIObjectType_Entity));
  }
}

}  // namespace

// Brings the graph in step with the server: clients that left go, new ones come, and the ports
// of known ones are added, removed or renamed.
void JackBackend::synchronise() {
  ServerPorts now = readServerPorts();
  system_->changeGraph([&](ObjectGraph& graph, Notes& notes) {
    removePeersThatLeft(now, graph, notes);
    for (const std::string& clientName : now.order) {
      const std::vector<PeerPort>& ports = now.byClient[clientName];
      const auto known = peers_.find(clientName);
      if (known == peers_.end()) {
        addPeer(clientName, ports, graph, notes);
      } else {
        updatePeer(known->second, ports, graph, notes);
      }
    }
  });
}

JackBackend::ServerPorts JackBackend::readServerPorts() const {
  ServerPorts now;
  const char** names = jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, 0);
  if (!names) return now;
  for (const char** name = names; *name; ++name) {
    jack_port_t* port = jack_port_by_name(client_, *name);
    if (!port || jack_port_is_mine(client_, port)) continue;
    const std::string fullName = *name;
    const std::string shortName = jack_port_short_name(port);
    if (fullName.size() <= shortName.size()) continue;
    const std::string clientName = fullName.substr(0, fullName.size() - shortName.size() - 1);
    PeerPort peer;
    peer.uuid = jack_port_uuid(port);
    peer.fullName = fullName;
    peer.shownName = shownNameOf(port);
    peer.isSource = (jack_port_flags(port) & JackPortIsOutput) != 0;
    if (!now.byClient.contains(clientName)) now.order.push_back(clientName);
    now.byClient[clientName].push_back(std::move(peer));
  }
  jack_free(names);
  return now;
}

// Clients that left, with all their ports.
void JackBackend::removePeersThatLeft(const ServerPorts& now, ObjectGraph& graph, Notes& notes) {
  for (auto known = peers_.begin(); known != peers_.end();) {
    if (now.byClient.contains(known->first)) {
      ++known;
      continue;
    }
    graph.remove(known->second.device);
    notes.push_back(QueuedNotification::addedOrRemoved(kMIDIMsgObjectRemoved, 0,
                                                       kMIDIObjectType_Other, known->second.device,
                                                       kMIDIObjectType_Device));
    known = peers_.erase(known);
  }
}

// A new client is announced as a whole device.
void JackBackend::addPeer(const std::string& clientName, const std::vector<PeerPort>& ports,
                          ObjectGraph& graph, Notes& notes) {
  PeerClient added;
  added.device = graph.addDevice(clientName, true);
  for (const PeerPort& port : ports) {
    added.ports.push_back(port);
    addPort(graph, added.device, added.ports.back(), nullptr);
  }
  notes.push_back(QueuedNotification::addedOrRemoved(kMIDIMsgObjectAdded, 0, kMIDIObjectType_Other,
                                                     added.device, kMIDIObjectType_Device));
  peers_.emplace(clientName, std::move(added));
}

// A known client's ports keep their identity (uuid) through renames.
void JackBackend::updatePeer(PeerClient& peer, const std::vector<PeerPort>& ports,
                             ObjectGraph& graph, Notes& notes) {
  const auto sameUuid = [](const PeerPort& port) {
    return [&port](const PeerPort& other) { return other.uuid == port.uuid; };
  };
  std::erase_if(peer.ports, [&](const PeerPort& old) {
    if (std::any_of(ports.begin(), ports.end(), sameUuid(old))) return false;
    graph.remove(old.entity);
    notes.push_back(QueuedNotification::addedOrRemoved(kMIDIMsgObjectRemoved, peer.device,
                                                       kMIDIObjectType_Device, old.entity,
                                                       kMIDIObjectType_Entity));
    return true;
  });
  for (const PeerPort& port : ports) {
    const auto old = std::find_if(peer.ports.begin(), peer.ports.end(), sameUuid(port));
    if (old == peer.ports.end()) {
      peer.ports.push_back(port);
      addPort(graph, peer.device, peer.ports.back(), &notes);
      continue;
    }
    old->fullName = port.fullName;
    if (old->shownName == port.shownName) continue;
    old->shownName = port.shownName;
    graph.rename(old->entity, port.shownName);
    graph.rename(old->endpoint, port.shownName);
    notes.push_back(QueuedNotification::propertyChanged(old->entity, kMIDIObjectType_Entity,
                                                        kMIDIPropertyName));
    notes.push_back(QueuedNotification::propertyChanged(
        old->endpoint, old->isSource ? kMIDIObjectType_Source : kMIDIObjectType_Destination,
        kMIDIPropertyName));
  }
}

void JackBackend::forgetPeers() {
  system_->changeGraph([&](ObjectGraph& graph, Notes& notes) {
    for (const auto& [name, peer] : peers_) {
      graph.remove(peer.device);
      notes.push_back(QueuedNotification::addedOrRemoved(
          kMIDIMsgObjectRemoved, 0, kMIDIObjectType_Other, peer.device, kMIDIObjectType_Device));
    }
  });
  peers_.clear();
}

const JackBackend::PeerPort* JackBackend::peerOf(MIDIEndpointRef endpoint) const {
  for (const auto& [name, peer] : peers_) {
    for (const PeerPort& port : peer.ports) {
      if (port.endpoint == endpoint) return &port;
    }
  }
  return nullptr;
}

}  // namespace jackmidi
