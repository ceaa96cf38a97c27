// Scalar types shared by the MIDI, host time and string interfaces, under the names that Mac OS X
// code uses for them.
#pragma once

#include <cstdint>

typedef std::uint8_t Byte;
typedef std::uint8_t Boolean;
typedef std::uint16_t UInt16;
typedef std::uint32_t UInt32;
typedef std::int32_t SInt32;
typedef std::uint64_t UInt64;
typedef unsigned long ItemCount;
typedef SInt32 OSStatus;

inline constexpr OSStatus noErr = 0;
inline constexpr OSStatus paramErr = -50;
