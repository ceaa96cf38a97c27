// The format of one queued message, written by the receive path and read back by the decoder:
// the MIDI bytes as stored, then the timestamp in four bytes, most significant first. There is no
// length field: a short record's status byte says how many bytes it holds, and a system-exclusive
// record ends at its end mark.
#pragma once

#include <cstdint>

#include "MidiBytes.h"

namespace inputrecord {

inline constexpr std::uint32_t kTimestampBytes = 4;
// Every short message needs room for the longest short record, whatever its own length.
inline constexpr std::uint32_t kLongestShortRecord = midi::kLongestShortMessage + kTimestampBytes;
// F0 F7: a system-exclusive message that carries nothing, and is not stored.
inline constexpr std::uint32_t kEmptySysexLength = 2;

// Bytes a short record holds before its timestamp; 0 for a status byte that is never stored as a
// short record (a data byte, 0xF0, and the undefined or lone 0xF4, 0xF5, 0xF7, 0xF9, 0xFD).
constexpr std::uint32_t storedLength(std::uint8_t status) {
  if (midi::isDataByte(status)) return 0;
  switch (midi::kindOf(status)) {
    case midi::kProgramChange:
    case midi::kChannelPressure:
      return 2;
    case midi::kSystem:
      break;
    default:
      return 3;
  }
  switch (status) {
    case midi::kQuarterFrame:
    case midi::kSongSelect:
      return 2;
    case midi::kSongPosition:
      return 3;
    case midi::kTuneRequest:
    case midi::kClock:
    case midi::kStart:
    case midi::kContinue:
    case midi::kStop:
    case midi::kActiveSensing:
    case midi::kSystemReset:
      return 1;
    default:
      return 0;
  }
}

constexpr void storeTimestamp(std::uint8_t* bytes, std::uint32_t timestamp) {
  for (std::uint32_t i = 0; i < kTimestampBytes; ++i) {
    bytes[i] = static_cast<std::uint8_t>(timestamp >> (8 * (kTimestampBytes - 1 - i)));
  }
}

constexpr std::uint32_t loadTimestamp(const std::uint8_t* bytes) {
  std::uint32_t timestamp = 0;
  for (std::uint32_t i = 0; i < kTimestampBytes; ++i) timestamp = (timestamp << 8) | bytes[i];
  return timestamp;
}

}  // namespace inputrecord
