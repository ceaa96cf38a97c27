// What feeds the MIDI system: a backend fills the object graph with its devices, hands what
// arrives at its sources to MidiSystem::receive, and plays out what reaches its destinations.
// A backend that stands for a real MIDI engine (JACK) also makes an engine-side port for each
// client port and reads its input ports itself; the defaults suit a backend that does neither.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "MidiServices.h"

namespace coremidi {

class MidiSystem;

// What an input port needs to hand on what reaches it.
struct InputConnection {
  MIDIPortRef port;
  MIDIEndpointRef source;
  MIDIReadProc readProc;
  void* portRefCon;
  void* connectionRefCon;
};

class Backend {
 public:
  virtual ~Backend() = default;
  virtual const char* name() const = 0;
  // Called once, right after the system was made: adds the backend's devices.
  virtual void start(MidiSystem& system) = 0;

  // A client was made under the name its creator gave; a status other than noErr refuses it (no
  // engine to talk to) and the system undoes it. Names come from the caller: the MIDI system has
  // none of its own.
  virtual OSStatus clientCreated(MIDIClientRef /*client*/, const std::string& /*name*/) {
    return noErr;
  }
  virtual void clientDisposed(MIDIClientRef /*client*/) {}
  // False while the engine behind the backend is gone (a JACK server that stopped): clients
  // made before then report themselves offline until it runs again.
  virtual bool engineRuns() { return true; }
  // A client port was made under the name its creator gave, or is going; a failed creation is
  // undone by the system.
  virtual OSStatus portCreated(MIDIPortRef /*port*/, bool /*isInput*/,
                               const std::string& /*name*/) {
    return noErr;
  }
  virtual void portDisposed(MIDIPortRef /*port*/) {}

  // True when the backend calls the read procedures of input ports itself, from connections it
  // is given here; otherwise the system's receiver does, from what reaches MidiSystem::receive.
  virtual bool readsInputPorts() const { return false; }
  virtual OSStatus connectInput(const InputConnection& /*connection*/) { return noErr; }
  // False when there was no such connection. Returns once no read procedure of it runs.
  virtual bool disconnectInput(MIDIPortRef /*port*/, MIDIEndpointRef /*source*/) { return false; }

  // A system-exclusive request to `destination` was accepted, on the sender's thread; its pieces
  // reach deliver later, on the system-exclusive thread. A backend that sends through ports of
  // its own picks the port here, in the order in which requests were made.
  virtual void sysexRequested(MIDIEndpointRef /*destination*/) {}

  // How far ahead of its time stamp a packet is handed to deliver; 0: at its time. A backend
  // that places packets within its own periods wants them early.
  virtual MIDITimeStamp deliveryLead() const { return 0; }
  // A packet list reached a destination, from `port` (0 for a system-exclusive request, which
  // names no port). Packets carry their time stamps: 0 or a time that has come means now. May be
  // called on any thread.
  virtual void deliver(MIDIPortRef port, MIDIEndpointRef destination,
                       const MIDIPacketList* packets) = 0;
};

// Null for an unknown name.
std::unique_ptr<Backend> makeBackend(std::string_view name);

}  // namespace coremidi
