// A request to stop playing that may come from a signal handler: it is a flag and a wake-up, so
// that a wait for the next frame ends as soon as it is made.
#pragma once

#include <atomic>
#include <chrono>

namespace tonvik {

class StopRequest {
 public:
  // Throws std::system_error when the system gives no descriptor to wake waits with.
  StopRequest();
  ~StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;

  // Async-signal-safe: an atomic store and a write(2), nothing else.
  void request() noexcept;
  bool requested() const noexcept;
  // Waits until `deadline`; returns true, at once, when a stop is requested before it.
  bool waitUntil(std::chrono::steady_clock::time_point deadline) const;

 private:
  // A signal handler may set it on any thread, so it must be lock-free to be safe there.
  static_assert(std::atomic<bool>::is_always_lock_free);
  std::atomic<bool> requested_{false};
  // An eventfd: its counter becomes readable once a stop is requested, which ends a poll.
  int wakeFd_;
};

}  // namespace tonvik
