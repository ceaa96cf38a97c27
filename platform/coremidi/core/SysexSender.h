// The system-exclusive thread: sends each request in chunks, advancing its data and count,
// stops early when the sender sets `complete`, and calls the completion procedure once.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "InFlight.h"
#include "MidiServices.h"

namespace coremidi {

class SysexSender {
 public:
  // Called on the system-exclusive thread for every chunk.
  using ChunkSink =
      std::function<void(MIDIEndpointRef destination, const Byte* data, UInt16 length)>;

  SysexSender(InFlight& inFlight, ChunkSink sink);
  ~SysexSender();
  SysexSender(const SysexSender&) = delete;
  SysexSender& operator=(const SysexSender&) = delete;

  // A request that never completes is taken and then left alone for good.
  void submit(MIDISysexSendRequest* request, bool neverComplete);
  void limitChunks(int chunks);
  std::uint64_t chunksSent() const { return chunksSent_.load(std::memory_order_relaxed); }

 private:
  struct Job {
    MIDISysexSendRequest* request;
    bool neverComplete;
  };

  void run();
  void transfer(MIDISysexSendRequest& request);
  // False when stopping.
  bool takePermit();

  InFlight& inFlight_;
  ChunkSink sink_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Job> jobs_;
  int permits_ = -1;  // chunks that may still go out; negative: no limit
  bool stop_ = false;
  // Statistics only: nothing else is published through it.
  std::atomic<std::uint64_t> chunksSent_{0};
  std::thread thread_;
};

}  // namespace coremidi
