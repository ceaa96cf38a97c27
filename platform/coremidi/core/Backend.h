// What feeds the MIDI system: a backend fills the object graph with its devices, hands what
// arrives at its sources to MidiSystem::receive, and plays out what reaches its destinations.
#pragma once

#include <memory>
#include <string_view>

#include "MidiServices.h"

namespace coremidi {

class MidiSystem;

class Backend {
 public:
  virtual ~Backend() = default;
  virtual const char* name() const = 0;
  // Called once, right after the system was made: adds the backend's devices.
  virtual void start(MidiSystem& system) = 0;
  // A packet list reached a destination, at its time. May be called on any thread.
  virtual void deliver(MIDIEndpointRef destination, const MIDIPacketList* packets) = 0;
};

// Null for an unknown name.
std::unique_ptr<Backend> makeBackend(std::string_view name);

}  // namespace coremidi
