// Counts the deliveries under way (scheduled packets, system-exclusive transfers, packet lists
// waiting for read procedures), so that a caller can wait until everything sent has arrived.
#pragma once

#include <condition_variable>
#include <mutex>

namespace coremidi {

class InFlight {
 public:
  void add();
  void done();
  // False if deliveries were still under way when the time ran out.
  bool waitIdle(double timeoutSeconds);

 private:
  std::mutex mutex_;
  std::condition_variable idle_;
  long count_ = 0;
};

}  // namespace coremidi
