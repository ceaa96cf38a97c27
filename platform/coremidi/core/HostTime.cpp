#include "HostTime.h"

#include <ctime>

#include "CallCounter.h"
#include "HostClock.h"

namespace coremidi {
namespace {

// 24 MHz: 3 ticks every 125 ns.
constexpr unsigned __int128 kTicksPerStep = 3;
constexpr unsigned __int128 kNanosPerStep = 125;
constexpr UInt64 kNanosPerSecond = 1000000000;

}  // namespace

UInt64 hostTimeNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return nanosToHostTime(static_cast<UInt64>(now.tv_sec) * kNanosPerSecond +
                         static_cast<UInt64>(now.tv_nsec));
}

UInt64 hostTimeToNanos(UInt64 hostTime) {
  return static_cast<UInt64>(hostTime * kNanosPerStep / kTicksPerStep);
}

UInt64 nanosToHostTime(UInt64 nanos) {
  return static_cast<UInt64>(nanos * kTicksPerStep / kNanosPerStep);
}

}  // namespace coremidi

using coremidi::ApiFunction;
using coremidi::countCall;

extern "C" {

UInt64 AudioGetCurrentHostTime() {
  countCall(ApiFunction::AudioGetCurrentHostTime);
  return coremidi::hostTimeNow();
}

UInt64 AudioConvertHostTimeToNanos(UInt64 hostTime) {
  countCall(ApiFunction::AudioConvertHostTimeToNanos);
  return coremidi::hostTimeToNanos(hostTime);
}

UInt64 AudioConvertNanosToHostTime(UInt64 nanos) {
  countCall(ApiFunction::AudioConvertNanosToHostTime);
  return coremidi::nanosToHostTime(nanos);
}

}  // extern "C"
