// Host time for the MIDI system's own use; unlike the API functions these are not counted.
#pragma once

#include "PlatformTypes.h"

namespace coremidi {

UInt64 hostTimeNow();
UInt64 hostTimeToNanos(UInt64 hostTime);
UInt64 nanosToHostTime(UInt64 nanos);

}  // namespace coremidi
