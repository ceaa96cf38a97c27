// The few MIDI 1.0 bytes the MIDI system itself looks at, where it cuts what it sends into
// messages. The Xtra has its own vocabulary: the platform cannot include it.
#pragma once

#include "MidiServices.h"

namespace coremidi {

inline constexpr Byte kSysexStart = 0xF0;
inline constexpr Byte kSysexEnd = 0xF7;
inline constexpr Byte kFirstStatusByte = 0x80;

constexpr bool isStatusByte(Byte byte) {
  return byte >= kFirstStatusByte;
}

}  // namespace coremidi
