// How the MIDI system's own threads (receive, scheduling, system-exclusive) are told to end: the
// flag is set under the lock they wait with, so that none misses the wake-up, then they are joined.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace coremidi {

inline void stopWorker(std::mutex& mutex, bool& stop, std::condition_variable& wake,
                       std::thread& thread) {
  {
    std::lock_guard lock(mutex);
    stop = true;
  }
  wake.notify_all();
  thread.join();
}

}  // namespace coremidi
