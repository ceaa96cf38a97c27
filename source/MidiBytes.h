// The MIDI 1.0 bytes the Xtra reads and writes: status bytes and how to take them apart, the
// system messages, and the controllers that are channel-mode messages. One place, so that the
// receive path, the reader, the sender and the input port cannot disagree about a byte.
#pragma once

#include <cstdint>

namespace midi {

// Channel messages: the high nibble of the status byte; the low nibble is the channel, 0 to 15.
inline constexpr std::uint8_t kNoteOff = 0x80;
inline constexpr std::uint8_t kNoteOn = 0x90;
inline constexpr std::uint8_t kPolyKeyPressure = 0xA0;
inline constexpr std::uint8_t kControlChange = 0xB0;
inline constexpr std::uint8_t kProgramChange = 0xC0;
inline constexpr std::uint8_t kChannelPressure = 0xD0;
inline constexpr std::uint8_t kPitchBend = 0xE0;
// The high nibble of every system message.
inline constexpr std::uint8_t kSystem = 0xF0;

// System messages.
inline constexpr std::uint8_t kSysexStart = 0xF0;
inline constexpr std::uint8_t kQuarterFrame = 0xF1;
inline constexpr std::uint8_t kSongPosition = 0xF2;
inline constexpr std::uint8_t kSongSelect = 0xF3;
inline constexpr std::uint8_t kTuneRequest = 0xF6;
inline constexpr std::uint8_t kSysexEnd = 0xF7;
inline constexpr std::uint8_t kClock = 0xF8;
inline constexpr std::uint8_t kStart = 0xFA;
inline constexpr std::uint8_t kContinue = 0xFB;
inline constexpr std::uint8_t kStop = 0xFC;
inline constexpr std::uint8_t kActiveSensing = 0xFE;
inline constexpr std::uint8_t kSystemReset = 0xFF;

inline constexpr std::uint8_t kStatusMask = 0xF0;
inline constexpr std::uint8_t kChannelMask = 0x0F;
inline constexpr std::uint8_t kFirstStatusByte = 0x80;
inline constexpr std::uint8_t kDataMask = 0x7F;
inline constexpr std::uint8_t kDataMaximum = 127;
inline constexpr int kDataBits = 7;
inline constexpr int kChannels = 16;
// A status byte and at most two data bytes.
inline constexpr std::uint32_t kLongestShortMessage = 3;

// Controllers 122 to 127 are the channel-mode messages; 122 only with the values 0 and 127.
inline constexpr std::uint8_t kLocalControl = 122;
inline constexpr std::uint8_t kAllNotesOff = 123;
inline constexpr std::uint8_t kOmniModeOff = 124;
inline constexpr std::uint8_t kOmniModeOn = 125;
inline constexpr std::uint8_t kMonoModeOn = 126;
inline constexpr std::uint8_t kPolyModeOn = 127;
inline constexpr std::uint8_t kFirstChannelModeController = kLocalControl;
inline constexpr std::uint8_t kLocalControlOffValue = 0;
inline constexpr std::uint8_t kLocalControlOnValue = 127;

// Pitch bend and song position carry 14 bits, least significant 7 first; pitch bend is centred.
inline constexpr std::uint32_t kFourteenBitMaximum = 16383;
inline constexpr std::int32_t kPitchBendCentre = 8192;

// A quarter frame's data byte: the piece number in bits 4 to 6, its value in bits 0 to 3.
inline constexpr int kQuarterFramePieceShift = 4;
inline constexpr std::uint8_t kQuarterFramePieceMaximum = 7;
inline constexpr std::uint8_t kQuarterFrameValueMask = 0x0F;
inline constexpr std::uint8_t kQuarterFrameValueMaximum = 15;

constexpr bool isDataByte(std::uint8_t byte) {
  return byte < kFirstStatusByte;
}
constexpr std::uint8_t kindOf(std::uint8_t status) {
  return status & kStatusMask;
}
constexpr int channelOf(std::uint8_t status) {
  return status & kChannelMask;
}
constexpr bool isChannelModeMessage(std::uint8_t status, std::uint8_t controller) {
  return kindOf(status) == kControlChange && controller >= kFirstChannelModeController;
}

}  // namespace midi
