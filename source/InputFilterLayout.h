// The layout of the two filter tables, shared by the script side that writes them
// (SetSystemFilter, SetChannelFilter) and the receive path that reads them.
//
// statusFilter_ holds one bit per status byte 0x80 to 0xFF, in byte (status & 0x0F) at bit
// ((status >> 4) & 7): bits 0 to 6 of byte n stand for the channel messages of channel n + 1,
// bit 7 for the system message 0xF0 + n. modeFilter_ byte n stands for channel n + 1, its bits
// 0 to 6 for the seven channel-mode messages. A set bit lets the message in.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "MidiBytes.h"

namespace filterlayout {

inline constexpr int kFilterBytes = midi::kChannels;
inline constexpr std::uint8_t kEverythingPasses = 0xFF;

constexpr int statusByteIndex(std::uint8_t status) {
  return midi::channelOf(status);
}
constexpr std::uint8_t statusBit(std::uint8_t status) {
  return static_cast<std::uint8_t>(1u << ((status >> 4) & 7));
}
inline constexpr std::uint8_t kSystemBit = statusBit(midi::kSystem);
inline constexpr std::uint8_t kChannelBits = static_cast<std::uint8_t>(~kSystemBit);

// The statusFilter_ bytes whose system bit stands for one of `statuses`, one bit per byte.
constexpr std::uint16_t systemBytes(std::initializer_list<std::uint8_t> statuses) {
  std::uint16_t bytes = 0;
  for (std::uint8_t status : statuses) {
    bytes = static_cast<std::uint16_t>(bytes | 1u << statusByteIndex(status));
  }
  return bytes;
}

// The modeFilter_ bit of a channel-mode message; 0 for controller 122 with a value that is
// neither on nor off, and for a controller byte above 127, which are no messages at all.
constexpr std::uint8_t modeBit(std::uint8_t controller, std::uint8_t value) {
  if (controller > midi::kPolyModeOn) return 0;
  if (controller == midi::kLocalControl) {
    if (value == midi::kLocalControlOffValue) return 1u << 0;
    if (value == midi::kLocalControlOnValue) return 1u << 1;
    return 0;
  }
  return static_cast<std::uint8_t>(1u << (controller - midi::kFirstChannelModeController + 1));
}
inline constexpr std::uint8_t kModeBits = 0x7F;

}  // namespace filterlayout
