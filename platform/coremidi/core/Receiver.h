// The MIDI receive thread: holds the connections of input ports to sources and calls their read
// procedures with the packet lists that reach a source. Producers copy each list into a slot that
// the thread keeps, so the thread itself allocates nothing and frees nothing.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "InFlight.h"
#include "MidiServices.h"

namespace coremidi {

class Receiver {
 public:
  explicit Receiver(InFlight& inFlight);
  ~Receiver();
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;

  // A second connection of the same source to the same port replaces the first.
  void connect(MIDIPortRef port, MIDIEndpointRef source, MIDIReadProc readProc, void* portRefCon,
               void* connectionRefCon);
  // Both return once no read procedure of what they removed is running, unless called from a
  // read procedure. disconnect is false when there was no such connection.
  bool disconnect(MIDIPortRef port, MIDIEndpointRef source);
  void disposePort(MIDIPortRef port);

  // Queues a copy of the list for the source's connections; returns a ticket for waitFor.
  std::uint64_t deliver(MIDIEndpointRef source, const std::vector<Byte>& packetList);
  // Returns once the list of that ticket has been handed to every read procedure.
  void waitFor(std::uint64_t ticket);
  bool onReceiveThread() const;

 private:
  struct Connection {
    std::uint64_t id;
    MIDIPortRef port;
    MIDIEndpointRef source;
    MIDIReadProc readProc;
    void* portRefCon;
    void* connectionRefCon;
  };
  struct Slot {
    MIDIEndpointRef source = 0;
    std::vector<Byte> packetList;
  };

  void run();
  void push(Slot* slot);
  Slot* pop();
  bool isConnected(std::uint64_t id) const;
  void waitUntilNotRunning(const std::vector<std::uint64_t>& removed,
                           std::unique_lock<std::mutex>& lock);

  InFlight& inFlight_;
  std::mutex mutex_;
  std::condition_variable work_;      // a slot was queued, or stop
  std::condition_variable progress_;  // a read procedure returned, or a slot was finished
  std::vector<Connection> connections_;
  std::uint64_t nextConnectionId_ = 1;
  std::uint64_t running_ = 0;         // connection whose read procedure runs now; 0: none
  std::vector<Connection> snapshot_;  // capacity kept at least connections_.size()
  std::vector<std::unique_ptr<Slot>> slots_;
  std::vector<Slot*> free_;   // capacity kept at least slots_.size()
  std::vector<Slot*> queue_;  // ring buffer of queued slots
  std::size_t queueHead_ = 0;
  std::size_t queueCount_ = 0;
  std::uint64_t queued_ = 0;
  std::uint64_t finished_ = 0;
  bool stop_ = false;
  std::thread thread_;
};

}  // namespace coremidi
