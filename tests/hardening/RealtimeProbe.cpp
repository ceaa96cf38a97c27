#include "RealtimeProbe.h"

#include <pthread.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

void countIfWatched(std::atomic<std::uint64_t>& counter) {
  if (realtime::watching) counter.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

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
  countIfWatched(realtime::allocations);
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  countIfWatched(realtime::allocations);
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  countIfWatched(realtime::allocations);
  return __libc_realloc(block, size);
}

void free(void* block) {
  if (block != nullptr) countIfWatched(realtime::frees);
  __libc_free(block);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  countIfWatched(realtime::allocations);
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
  countIfWatched(realtime::allocations);
  void* block = __libc_memalign(alignment, size);
  if (block == nullptr) return ENOMEM;
  *out = block;
  return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  countIfWatched(realtime::mutexLocks);
  return tonvikRealMutexLock(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) {
  countIfWatched(realtime::mutexLocks);
  return tonvikRealMutexTrylock(mutex);
}

}  // extern "C"

#endif
