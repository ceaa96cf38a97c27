// The output port: sends short messages and system-exclusive requests to one CoreMIDI
// destination.
#pragma once

#include <cstdint>

#include "DeviceList.h"

struct MIDISysexSendRequest;

// A handle over a state object, like the input port.
class OSXMidiOut {
 public:
  OSXMidiOut();
  ~OSXMidiOut();
  OSXMidiOut(const OSXMidiOut&) = delete;
  OSXMidiOut& operator=(const OSXMidiOut&) = delete;

  // Only while inactive.
  void setDevice(const DeviceListEntry& device);
  // Finds the selected destination again; an output port needs no connection.
  bool start();
  void stop();
  bool createOutputPort();
  void disposeOutputPort();
  // Sends the first `length` bytes as one packet at timeSeconds on the host clock; 0.0 is now.
  // A refused send switches sending off until the next start.
  void sendBytes(double timeSeconds, std::uint8_t length, std::uint8_t b0, std::uint8_t b1,
                 std::uint8_t b2);
  // The request and its bytes stay the caller's and must live until its completion procedure
  // runs. True when CoreMIDI accepted it.
  bool sendSysexRequest(MIDISysexSendRequest* request);
  // Only while active.
  double scheduleInAdvanceSeconds();
  void setVerbose(bool verbose);
  bool isActive() const;

  class State;

 private:
  State* state_;
};
