#include "StackLimit.h"

#include <pthread.h>

#include <cstdint>
#include <limits>

#include "ScriptError.h"

namespace tonvik {

namespace {

// Left for what runs below the last check. A sanitizer build's frames are several times larger
// than a release build's, and its reports need room too.
constexpr std::size_t kReserveBytes = std::size_t{1} << 20;
// On a small stack the reserve is this share of it instead.
constexpr std::size_t kReserveShareOfSmallStack = 4;

struct StackBounds {
  bool looked = false;
  bool known = false;
  std::uintptr_t limit = 0;  // the lowest address a check lets the stack reach
};

// Read once per thread: the first check of a thread may be its only chance before memory runs
// short, and reading the bounds of the main thread opens /proc.
thread_local StackBounds threadBounds;

const StackBounds& bounds() {
  StackBounds& b = threadBounds;
  if (b.looked) return b;
  b.looked = true;
  pthread_attr_t attr;
  if (pthread_getattr_np(pthread_self(), &attr) != 0) return b;
  void* low = nullptr;
  std::size_t size = 0;
  if (pthread_attr_getstack(&attr, &low, &size) == 0 && size > 0) {
    std::size_t reserve = kReserveBytes;
    if (size / kReserveShareOfSmallStack < reserve) reserve = size / kReserveShareOfSmallStack;
    b.limit = reinterpret_cast<std::uintptr_t>(low) + reserve;
    b.known = true;
  }
  pthread_attr_destroy(&attr);
  return b;
}

// The frame address, not a local's: under AddressSanitizer locals may live on a separate heap.
std::uintptr_t here() {
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

}  // namespace

bool stackNearlyUsedUp() {
  const StackBounds& b = bounds();
  return b.known && here() < b.limit;
}

void checkStack(const char* what) {
  if (stackNearlyUsedUp()) throw ScriptError(what);
}

std::size_t stackLeft() {
  const StackBounds& b = bounds();
  if (!b.known) return std::numeric_limits<std::size_t>::max();
  std::uintptr_t at = here();
  return at > b.limit ? at - b.limit : 0;
}

}  // namespace tonvik
