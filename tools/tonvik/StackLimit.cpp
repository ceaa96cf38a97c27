#include "StackLimit.h"

#include <pthread.h>

#include <cstddef>

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
  std::uintptr_t floor = 0;
};

// Read once per thread: reading the bounds of the main thread opens /proc.
thread_local StackBounds threadBounds;

}  // namespace

std::uintptr_t stackFloor() {
  StackBounds& b = threadBounds;
  if (b.looked) return b.floor;
  b.looked = true;
  pthread_attr_t attr;
  if (pthread_getattr_np(pthread_self(), &attr) != 0) return b.floor;
  void* low = nullptr;
  std::size_t size = 0;
  if (pthread_attr_getstack(&attr, &low, &size) == 0 && size > 0) {
    std::size_t reserve = kReserveBytes;
    if (size / kReserveShareOfSmallStack < reserve) reserve = size / kReserveShareOfSmallStack;
    b.floor = reinterpret_cast<std::uintptr_t>(low) + reserve;
  }
  pthread_attr_destroy(&attr);
  return b.floor;
}

void checkStack(const char* what) {
  if (belowStackFloor(stackFloor())) throw ScriptError(what);
}

}  // namespace tonvik
