#include "StopRequest.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace tonvik {

StopRequest::StopRequest() : wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (wakeFd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

StopRequest::~StopRequest() {
  close(wakeFd_);
}

void StopRequest::request() noexcept {
  // The flag publishes nothing else (the waiter reads no data the requester wrote), so relaxed
  // is enough; the eventfd is what wakes a waiter that is already asleep. It is never read back,
  // so a waiter woken before the flag shows polls again, returns at once, and soon sees it.
  requested_.store(true, std::memory_order_relaxed);
  const std::uint64_t one = 1;
  // Nothing to do if it fails: the counter is then already non-zero, so waits end anyway.
  [[maybe_unused]] ssize_t written = write(wakeFd_, &one, sizeof one);
}

bool StopRequest::requested() const noexcept {
  return requested_.load(std::memory_order_relaxed);
}

bool StopRequest::waitUntil(std::chrono::steady_clock::time_point deadline) const {
  using namespace std::chrono;
  while (!requested()) {
    auto left = deadline - steady_clock::now();
    if (left <= steady_clock::duration::zero()) return false;
    auto seconds = duration_cast<std::chrono::seconds>(left);
    timespec timeout{static_cast<time_t>(seconds.count()),
                     static_cast<long>(duration_cast<nanoseconds>(left - seconds).count())};
    pollfd wake{wakeFd_, POLLIN, 0};
    // A timeout or an interruption by another signal: the loop looks at the clock again, so an
    // early return never starts a frame early.
    ppoll(&wake, 1, &timeout, nullptr);
  }
  return true;
}

}  // namespace tonvik
