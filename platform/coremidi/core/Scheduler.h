// The delivery thread of scheduled packets: a packet sent with a future time stamp waits here
// until the host clock reaches it.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "InFlight.h"
#include "MidiServices.h"

namespace coremidi {

class Scheduler {
 public:
  // Called on the delivery thread with a one-packet list whose time has come.
  using Sink = std::function<void(MIDIPortRef port, MIDIEndpointRef destination,
                                  const std::vector<Byte>& list)>;

  Scheduler(InFlight& inFlight, Sink sink);
  ~Scheduler();
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;

  // The packet keeps its time stamp `due`; it is handed on at `release`, which may be earlier.
  void schedule(MIDIPortRef port, MIDIEndpointRef destination, MIDITimeStamp release,
                MIDITimeStamp due, const Byte* data, UInt16 length);

 private:
  struct Pending {
    MIDIPortRef port;
    MIDIEndpointRef destination;
    std::vector<Byte> list;
  };

  void run();

  InFlight& inFlight_;
  Sink sink_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<MIDITimeStamp, Pending> pending_;  // equal times keep their sending order
  bool stop_ = false;
  std::thread thread_;
};

}  // namespace coremidi
