// Counts heap operations and mutex acquisitions made inside a watched section of one thread.
// The counting replaces malloc, free and pthread_mutex_lock for the whole test binary, so it is
// only built where no sanitizer runtime owns those functions.
#pragma once

#include <atomic>
#include <cstdint>

namespace realtime {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kProbeAvailable = false;
#else
inline constexpr bool kProbeAvailable = true;
#endif

// Counted with relaxed adds: they order nothing, and are read once the watched threads are done.
inline std::atomic<std::uint64_t> sections{0};     // watched sections entered
inline std::atomic<std::uint64_t> allocations{0};  // malloc, calloc, realloc, aligned allocations
inline std::atomic<std::uint64_t> frees{0};
inline std::atomic<std::uint64_t> mutexLocks{0};  // pthread_mutex_lock and pthread_mutex_trylock

// Plain thread-local storage of a trivial type: reading it neither allocates nor locks.
inline thread_local bool watching = false;

// Marks the calling thread's work between construction and destruction as watched.
class WatchedSection {
 public:
  WatchedSection() : outer_(!watching) {
    if (outer_) sections.fetch_add(1, std::memory_order_relaxed);
    watching = true;
  }
  ~WatchedSection() {
    if (outer_) watching = false;
  }
  WatchedSection(const WatchedSection&) = delete;
  WatchedSection& operator=(const WatchedSection&) = delete;

 private:
  bool outer_;
};

}  // namespace realtime
