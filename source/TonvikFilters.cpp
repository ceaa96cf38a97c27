// The script's input filters: which message kinds, on which channels, enter the queue.
#include <iterator>

#include "InputFilterLayout.h"
#include "MidiBytes.h"
#include "TonvikBase.h"

namespace {

using filterlayout::kChannelBits;
using filterlayout::kModeBits;
using filterlayout::kSystemBit;
using filterlayout::modeBit;
using filterlayout::statusBit;
using filterlayout::systemBytes;

constexpr std::uint16_t kAllChannels = 0xFFFF;
// A single channel argument of 0 stands for all sixteen.
constexpr std::int32_t kEveryChannel = 0;

// The statusFilter_ bytes whose system bit stands for a system message that can be queued.
constexpr std::uint16_t kRealTimeBytes =
    systemBytes({midi::kClock, midi::kStart, midi::kContinue, midi::kStop, midi::kActiveSensing,
                 midi::kSystemReset});
constexpr std::uint16_t kCommonBytes =
    systemBytes({midi::kSysexStart, midi::kQuarterFrame, midi::kSongPosition, midi::kSongSelect,
                 midi::kTuneRequest, midi::kSysexEnd});
constexpr std::uint16_t kAllSystemBytes = kRealTimeBytes | kCommonBytes;

constexpr std::uint8_t kNoteBits = statusBit(midi::kNoteOff) | statusBit(midi::kNoteOn);

}  // namespace

// One symbol of a filter vocabulary with what it lets in: for system symbols the statusFilter_
// bytes whose bit 7 it sets, for channel symbols the bits it sets in a channel's bytes.
struct TonvikBase::FilterSymbol {
  LingoSymbol TonvikBase::*handle;
  std::uint16_t systemBytes;
  std::uint8_t statusBits;
  std::uint8_t modeBits;
};

std::int32_t TonvikBase::SetSystemFilter(const LingoValue* messageTypes) {
  static constexpr FilterSymbol kSystemSymbols[] = {
      {&TonvikBase::allSymbol_, kAllSystemBytes, 0, 0},
      {&TonvikBase::noneSymbol_, 0, 0, 0},
      {&TonvikBase::realTimeSymbol_, kRealTimeBytes, 0, 0},
      {&TonvikBase::commonSymbol_, kCommonBytes, 0, 0},
      {&TonvikBase::clockSymbol_, systemBytes({midi::kClock}), 0, 0},
      {&TonvikBase::startSymbol_, systemBytes({midi::kStart}), 0, 0},
      {&TonvikBase::continueSymbol_, systemBytes({midi::kContinue}), 0, 0},
      {&TonvikBase::stopSymbol_, systemBytes({midi::kStop}), 0, 0},
      {&TonvikBase::activeSensingSymbol_, systemBytes({midi::kActiveSensing}), 0, 0},
      {&TonvikBase::systemResetSymbol_, systemBytes({midi::kSystemReset}), 0, 0},
      {&TonvikBase::mtcQuarterFrameSymbol_, systemBytes({midi::kQuarterFrame}), 0, 0},
      {&TonvikBase::songPositionPointerSymbol_, systemBytes({midi::kSongPosition}), 0, 0},
      {&TonvikBase::songSelectSymbol_, systemBytes({midi::kSongSelect}), 0, 0},
      {&TonvikBase::tuneRequestSymbol_, systemBytes({midi::kTuneRequest}), 0, 0},
      {&TonvikBase::systemExclusiveSymbol_, systemBytes({midi::kSysexStart, midi::kSysexEnd}), 0,
       0},
  };
  for (int byte = 0; byte < kFilterBytes; ++byte) {
    if (kAllSystemBytes & (1u << byte)) {
      statusFilter_[byte].fetch_and(static_cast<std::uint8_t>(~kSystemBit),
                                    std::memory_order_relaxed);
    }
  }
  return ApplyMessageTypes(messageTypes, kSystemSymbols,
                           static_cast<int>(std::size(kSystemSymbols)), 0);
}

std::int32_t TonvikBase::SetChannelFilter(const LingoValue* messageTypes,
                                          const LingoValue* channels) {
  static constexpr FilterSymbol kChannelSymbols[] = {
      {&TonvikBase::allSymbol_, 0, kChannelBits, kModeBits},
      {&TonvikBase::noneSymbol_, 0, 0, 0},
      {&TonvikBase::voiceSymbol_, 0, kChannelBits, 0},
      {&TonvikBase::noteSymbol_, 0, kNoteBits, 0},
      {&TonvikBase::noteOffSymbol_, 0, statusBit(midi::kNoteOff), 0},
      {&TonvikBase::noteOnSymbol_, 0, statusBit(midi::kNoteOn), 0},
      {&TonvikBase::polyKeyPressureSymbol_, 0, statusBit(midi::kPolyKeyPressure), 0},
      {&TonvikBase::controlChangeSymbol_, 0, statusBit(midi::kControlChange), 0},
      {&TonvikBase::programChangeSymbol_, 0, statusBit(midi::kProgramChange), 0},
      {&TonvikBase::channelPressureSymbol_, 0, statusBit(midi::kChannelPressure), 0},
      {&TonvikBase::pitchBendSymbol_, 0, statusBit(midi::kPitchBend), 0},
      {&TonvikBase::modeSymbol_, 0, 0, kModeBits},
      {&TonvikBase::localControlOffSymbol_, 0, 0,
       modeBit(midi::kLocalControl, midi::kLocalControlOffValue)},
      {&TonvikBase::localControlOnSymbol_, 0, 0,
       modeBit(midi::kLocalControl, midi::kLocalControlOnValue)},
      {&TonvikBase::allNotesOffSymbol_, 0, 0, modeBit(midi::kAllNotesOff, 0)},
      {&TonvikBase::omniModeOffSymbol_, 0, 0, modeBit(midi::kOmniModeOff, 0)},
      {&TonvikBase::omniModeOnSymbol_, 0, 0, modeBit(midi::kOmniModeOn, 0)},
      {&TonvikBase::monoModeOnSymbol_, 0, 0, modeBit(midi::kMonoModeOn, 0)},
      {&TonvikBase::polyModeOnSymbol_, 0, 0, modeBit(midi::kPolyModeOn, 0)},
  };
  std::uint16_t chosen = 0;
  const std::int32_t channelResult = ReadChannelSet(channels, &chosen);
  if (channelResult != kErrNone || chosen == 0) return channelResult;

  for (int byte = 0; byte < kFilterBytes; ++byte) {
    if (chosen & (1u << byte)) {
      statusFilter_[byte].fetch_and(static_cast<std::uint8_t>(~kChannelBits),
                                    std::memory_order_relaxed);
      modeFilter_[byte].fetch_and(static_cast<std::uint8_t>(~kModeBits), std::memory_order_relaxed);
    }
  }
  return ApplyMessageTypes(messageTypes, kChannelSymbols,
                           static_cast<int>(std::size(kChannelSymbols)), chosen);
}

// Bit c - 1 of the set stands for channel c. Nothing is changed when an element fails.
std::int32_t TonvikBase::ReadChannelSet(const LingoValue* channels, std::uint16_t* set) {
  std::int32_t type = kLingoTypeVoid;
  valueInterface_->ValueTypeOf(channels, &type);
  if (type == kLingoTypeInteger) {
    std::int32_t channel = 0;
    if (valueInterface_->ReadIntegerValue(channels, &channel) != kHostOk) {
      return kErrInvalidParameterValue;
    }
    if (channel == kEveryChannel) {
      *set = kAllChannels;
    } else if (channel >= kFirstChannel && channel <= kLastChannel) {
      *set = static_cast<std::uint16_t>(1u << (channel - kFirstChannel));
    } else {
      return kErrParameterOutOfRange;
    }
    return kErrNone;
  }
  if (type != kLingoTypeLinearList) return kErrInvalidParameterType;

  std::int32_t result = kErrNone;
  std::uint16_t gathered = 0;
  const std::int32_t count = listInterface_->ListItemCount(channels);
  for (std::int32_t position = 1; position <= count; ++position) {
    LingoValue item;
    if (listInterface_->GetListItem(channels, position, &item) != kHostOk) {
      result = kErrInvalidParameterType;
      continue;
    }
    std::int32_t channel = 0;
    const HostStatus status = valueInterface_->ReadIntegerValue(&item, &channel);
    valueInterface_->ReleaseValue(&item);
    if (status != kHostOk) {
      result = kErrInvalidParameterValue;
    } else if (channel < kFirstChannel || channel > kLastChannel) {
      result = kErrParameterOutOfRange;
    } else {
      gathered |= static_cast<std::uint16_t>(1u << (channel - kFirstChannel));
    }
  }
  if (result == kErrNone) *set = gathered;
  return result;
}

std::int32_t TonvikBase::ApplyMessageTypes(const LingoValue* messageTypes,
                                           const FilterSymbol* table, int tableLength,
                                           std::uint16_t channels) {
  std::int32_t type = kLingoTypeVoid;
  valueInterface_->ValueTypeOf(messageTypes, &type);
  if (type == kLingoTypeSymbol) {
    LingoSymbol symbol = 0;
    if (valueInterface_->ReadSymbolValue(messageTypes, &symbol) != kHostOk) {
      return kErrInvalidParameterValue;
    }
    return ApplyFilterSymbol(symbol, table, tableLength, channels);
  }
  if (type != kLingoTypeLinearList) return kErrInvalidParameterType;

  std::int32_t result = kErrNone;
  const std::int32_t count = listInterface_->ListItemCount(messageTypes);
  for (std::int32_t position = 1; position <= count; ++position) {
    LingoValue item;
    if (listInterface_->GetListItem(messageTypes, position, &item) != kHostOk) {
      result = kErrInvalidParameterValue;
      continue;
    }
    LingoSymbol symbol = 0;
    const HostStatus status = valueInterface_->ReadSymbolValue(&item, &symbol);
    valueInterface_->ReleaseValue(&item);
    if (status != kHostOk) {
      result = kErrInvalidParameterType;
      continue;
    }
    const std::int32_t applied = ApplyFilterSymbol(symbol, table, tableLength, channels);
    if (applied != kErrNone) result = applied;
  }
  return result;
}

// A system symbol sets bit 7 of its bytes; a channel symbol sets its bits in every chosen
// channel's bytes.
std::int32_t TonvikBase::ApplyFilterSymbol(LingoSymbol symbol, const FilterSymbol* table,
                                           int tableLength, std::uint16_t channels) {
  for (int i = 0; i < tableLength; ++i) {
    const FilterSymbol& entry = table[i];
    if (this->*entry.handle != symbol) continue;
    for (int byte = 0; byte < kFilterBytes; ++byte) {
      if (entry.systemBytes & (1u << byte)) {
        statusFilter_[byte].fetch_or(kSystemBit, std::memory_order_relaxed);
      }
      if (channels & (1u << byte)) {
        statusFilter_[byte].fetch_or(entry.statusBits, std::memory_order_relaxed);
        modeFilter_[byte].fetch_or(entry.modeBits, std::memory_order_relaxed);
      }
    }
    return kErrNone;
  }
  return kErrUnknownMessageType;
}
