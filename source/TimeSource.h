// The clock an input port reads once per packet list; the implementer chooses the epoch.
#pragma once

class TimeSource {
 public:
  virtual ~TimeSource() = default;

  // Called on the MIDI receive thread: must not block, allocate or call the host.
  virtual double currentTimeSeconds() = 0;
};
