#include "StopSignals.h"

#include <signal.h>

#include <atomic>
#include <cerrno>

namespace tonvik {

namespace {

// Read by the handler on whatever thread a signal lands: release and acquire, so that it sees
// the request fully made.
std::atomic<StopRequest*> activeStop{nullptr};
static_assert(std::atomic<StopRequest*>::is_always_lock_free);

void onStopSignal(int signal) {
  const int savedErrno = errno;
  StopRequest* stop = activeStop.load(std::memory_order_acquire);
  if (stop == nullptr || stop->requested()) {
    // The second one does what the signal does by default, once this handler returns.
    ::signal(signal, SIG_DFL);
    ::raise(signal);
  } else {
    stop->request();
  }
  errno = savedErrno;
}

}  // namespace

void catchStopSignals(StopRequest& stop) {
  activeStop.store(&stop, std::memory_order_release);
  struct sigaction action = {};
  action.sa_handler = onStopSignal;
  sigemptyset(&action.sa_mask);
  // Waits and reads that a signal interrupts go on; the stop is seen at the end of the frame.
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

}  // namespace tonvik
