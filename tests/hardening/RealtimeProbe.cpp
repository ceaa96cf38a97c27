#include "RealtimeProbe.h"

#include <pthread.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace realtime {
namespace {

// Plain thread-local storage of a trivial type: reading it neither allocates nor locks.
thread_local bool watching = false;

// Unused where a sanitizer owns the allocator and no replacement below is built.
[[maybe_unused]] void count(std::atomic<std::uint64_t>& counter) {
  if (watching) counter.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

WatchedSection::WatchedSection() : outer_(!watching) {
  if (outer_) sections.fetch_add(1, std::memory_order_relaxed);
  watching = true;
}

WatchedSection::~WatchedSection() {
  if (outer_) watching = false;
}

}  // namespace realtime

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// glibc's own entry points, reached without going back through the replacements below.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
void* __libc_memalign(std::size_t alignment, std::size_t size);
int tonvikRealMutexLock(pthread_mutex_t* mutex);
int tonvikRealMutexTrylock(pthread_mutex_t* mutex);
}
__asm__(".symver tonvikRealMutexLock, __pthread_mutex_lock@GLIBC_2.2.5");
__asm__(".symver tonvikRealMutexTrylock, __pthread_mutex_trylock@GLIBC_2.2.5");

extern "C" {

void* malloc(std::size_t size) {
  realtime::count(realtime::allocations);
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  realtime::count(realtime::allocations);
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  realtime::count(realtime::allocations);
  return __libc_realloc(block, size);
}

void free(void* block) {
  if (block != nullptr) realtime::count(realtime::frees);
  __libc_free(block);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  realtime::count(realtime::allocations);
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
  realtime::count(realtime::allocations);
  void* block = __libc_memalign(alignment, size);
  if (block == nullptr) return ENOMEM;
  *out = block;
  return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  realtime::count(realtime::mutexLocks);
  return tonvikRealMutexLock(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) {
  realtime::count(realtime::mutexLocks);
  return tonvikRealMutexTrylock(mutex);
}

}  // extern "C"

#endif
