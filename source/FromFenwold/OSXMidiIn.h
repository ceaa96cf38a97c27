// The input port: connects one CoreMIDI source to a MidiConsumer and cuts every packet list that
// arrives into short messages and system-exclusive pieces.
#pragma once

#include "DeviceList.h"

class MidiConsumer;
class TimeSource;

// A handle over a state object, so that CoreMIDI can be given one stable address as reference
// constant for both the read procedure and the connection.
class OSXMidiIn {
 public:
  OSXMidiIn();
  ~OSXMidiIn();
  OSXMidiIn(const OSXMidiIn&) = delete;
  OSXMidiIn& operator=(const OSXMidiIn&) = delete;

  // Only while inactive.
  void setDevice(const DeviceListEntry& device);
  // Connects to the selected source; consumer and time source must stay valid until stop.
  bool start(MidiConsumer* consumer, TimeSource* timeSource);
  // Once it returns, the read procedure no longer touches the consumer or the time source.
  void stop();
  bool createInputPort();
  void disposeInputPort();
  void setVerbose(bool verbose);
  bool isActive() const;

  class State;

 private:
  State* state_;
};
