#include "InFlight.h"

#include <chrono>

namespace coremidi {

void InFlight::add() {
  std::lock_guard lock(mutex_);
  ++count_;
}

void InFlight::done() {
  std::lock_guard lock(mutex_);
  if (--count_ == 0) idle_.notify_all();
}

bool InFlight::waitIdle(double timeoutSeconds) {
  std::unique_lock lock(mutex_);
  return idle_.wait_for(lock, std::chrono::duration<double>(timeoutSeconds),
                        [this] { return count_ == 0; });
}

}  // namespace coremidi
