// The host clock: CLOCK_MONOTONIC counted in host ticks. A tick is not a nanosecond (the clock
// runs at 24 MHz, 125/3 ns a tick), so code that forgets to convert shows it at once.
#pragma once

#include "PlatformTypes.h"

extern "C" {

UInt64 AudioGetCurrentHostTime();
UInt64 AudioConvertHostTimeToNanos(UInt64 hostTime);
UInt64 AudioConvertNanosToHostTime(UInt64 nanos);

}  // extern "C"
