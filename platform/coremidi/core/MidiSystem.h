// The process's one MIDI system: the object graph, the clients with their ports, the threads that
// deliver, and the backend that feeds it. Every C API function forwards here.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Backend.h"
#include "Failures.h"
#include "InFlight.h"
#include "MidiServices.h"
#include "Notifications.h"
#include "ObjectGraph.h"
#include "Receiver.h"
#include "Scheduler.h"
#include "SysexSender.h"

namespace coremidi {

class MidiSystem {
 public:
  // Made on first use, with the backend chosen by then; never destroyed, so that no thread of
  // it outlives its state while the process exits.
  static MidiSystem& instance();
  // Records the backend to make; false once the system exists or for an unknown name.
  static bool requestBackend(std::string_view name);

  // Clients and ports keep the names they are made with; the backend is told them.
  OSStatus createClient(const std::string& name, MIDINotifyProc notifyProc, void* refCon,
                        MIDIClientRef* outClient);
  OSStatus disposeClient(MIDIClientRef client);
  bool isClient(MIDIObjectRef object);
  OSStatus createInputPort(MIDIClientRef client, const std::string& name, MIDIReadProc readProc,
                           void* refCon, MIDIPortRef* outPort);
  OSStatus createOutputPort(MIDIClientRef client, const std::string& name, MIDIPortRef* outPort);
  // The name of a client or a port; none for any other object.
  std::optional<std::string> clientOrPortName(MIDIObjectRef object);
  OSStatus disposePort(MIDIPortRef port);
  OSStatus connectSource(MIDIPortRef port, MIDIEndpointRef source, void* connectionRefCon);
  OSStatus disconnectSource(MIDIPortRef port, MIDIEndpointRef source);
  OSStatus send(MIDIPortRef port, MIDIEndpointRef destination, const MIDIPacketList* packets);
  OSStatus sendSysex(MIDISysexSendRequest* request);

  // Runs `read` on the graph under the system's lock.
  template <typename Read>
  auto readGraph(Read read) {
    std::lock_guard lock(mutex_);
    return read(static_cast<const ObjectGraph&>(graph_));
  }
  // Runs `change` on the graph under the lock; `change` lists what it did, and once the lock is
  // given back each client is told, followed by one kMIDIMsgSetupChanged if anything changed.
  void changeGraph(
      const std::function<void(ObjectGraph&, std::vector<QueuedNotification>&)>& change);

  // Hands a packet list that arrived at a source to the read procedures connected to it.
  std::uint64_t receive(MIDIEndpointRef source, const std::vector<Byte>& packetList);
  // A packet list whose time has come reaches the destination, if it still exists.
  void arrive(MIDIPortRef port, MIDIEndpointRef destination, const MIDIPacketList* packets);

  Receiver& receiver() { return receiver_; }
  InFlight& inFlight() { return inFlight_; }
  Failures& failures() { return failures_; }
  NotificationCenter& notifications() { return notifications_; }
  SysexSender& sysex() { return sysex_; }
  Backend& backend() { return *backend_; }

 private:
  struct Client {
    std::string name;
    std::vector<MIDIPortRef> ports;
  };
  struct Port {
    MIDIClientRef client;
    std::string name;
    bool isInput;
    MIDIReadProc readProc;
    void* refCon;
  };

  explicit MidiSystem(std::unique_ptr<Backend> backend);
  OSStatus createPort(MIDIClientRef client, const std::string& name, bool isInput,
                      MIDIReadProc readProc, void* refCon, MIDIPortRef* outPort);
  void forgetPort(MIDIPortRef port);

  std::mutex mutex_;  // the graph, clients and ports
  ObjectGraph graph_;
  std::map<MIDIClientRef, Client> clients_;
  std::map<MIDIPortRef, Port> ports_;

  InFlight inFlight_;
  Failures failures_;
  NotificationCenter notifications_;
  Receiver receiver_;
  Scheduler scheduler_;
  SysexSender sysex_;
  std::unique_ptr<Backend> backend_;
};

}  // namespace coremidi
