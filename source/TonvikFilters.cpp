// The script's input filters: which message kinds, on which channels, enter the queue.
#include <initializer_list>
#include <iterator>

#include "TonvikBase.h"

namespace {

constexpr std::uint16_t kAllChannels = 0xFFFF;
constexpr std::int32_t kLowestChannel = 1;
constexpr std::int32_t kHighestChannel = 16;
constexpr std::int32_t kEveryChannel = 0;
constexpr std::uint8_t kSystemBit = 0x80;
constexpr std::uint8_t kChannelBits = 0x7F;

// statusFilter_ bytes whose bit 7 stands for a system status byte that can be queued (0xF0 + k):
// F0 F1 F2 F3 F6 F7 F8 FA FB FC FE FF.
constexpr std::uint16_t SystemBytes(std::initializer_list<int> statuses) {
  std::uint16_t bytes = 0;
  for (int status : statuses) bytes |= static_cast<std::uint16_t>(1u << (status & 0x0F));
  return bytes;
}
constexpr std::uint16_t kRealTimeBytes = SystemBytes({0xF8, 0xFA, 0xFB, 0xFC, 0xFE, 0xFF});
constexpr std::uint16_t kCommonBytes = SystemBytes({0xF0, 0xF1, 0xF2, 0xF3, 0xF6, 0xF7});
constexpr std::uint16_t kAllSystemBytes = kRealTimeBytes | kCommonBytes;

constexpr std::uint8_t Bit(int n) {
  return static_cast<std::uint8_t>(1u << n);
}
constexpr std::uint8_t kNoteOffBit = Bit(0);
constexpr std::uint8_t kNoteOnBit = Bit(1);
constexpr std::uint8_t kVoiceBits = 0x7F;
constexpr std::uint8_t kModeBits = 0x7F;

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
      {&TonvikBase::clockSymbol_, SystemBytes({0xF8}), 0, 0},
      {&TonvikBase::startSymbol_, SystemBytes({0xFA}), 0, 0},
      {&TonvikBase::continueSymbol_, SystemBytes({0xFB}), 0, 0},
      {&TonvikBase::stopSymbol_, SystemBytes({0xFC}), 0, 0},
      {&TonvikBase::activeSensingSymbol_, SystemBytes({0xFE}), 0, 0},
      {&TonvikBase::systemResetSymbol_, SystemBytes({0xFF}), 0, 0},
      {&TonvikBase::mtcQuarterFrameSymbol_, SystemBytes({0xF1}), 0, 0},
      {&TonvikBase::songPositionPointerSymbol_, SystemBytes({0xF2}), 0, 0},
      {&TonvikBase::songSelectSymbol_, SystemBytes({0xF3}), 0, 0},
      {&TonvikBase::tuneRequestSymbol_, SystemBytes({0xF6}), 0, 0},
      {&TonvikBase::systemExclusiveSymbol_, SystemBytes({0xF0, 0xF7}), 0, 0},
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
      {&TonvikBase::allSymbol_, 0, kVoiceBits, kModeBits},
      {&TonvikBase::noneSymbol_, 0, 0, 0},
      {&TonvikBase::voiceSymbol_, 0, kVoiceBits, 0},
      {&TonvikBase::noteSymbol_, 0, kNoteOffBit | kNoteOnBit, 0},
      {&TonvikBase::noteOffSymbol_, 0, kNoteOffBit, 0},
      {&TonvikBase::noteOnSymbol_, 0, kNoteOnBit, 0},
      {&TonvikBase::polyKeyPressureSymbol_, 0, Bit(2), 0},
      {&TonvikBase::controlChangeSymbol_, 0, Bit(3), 0},
      {&TonvikBase::programChangeSymbol_, 0, Bit(4), 0},
      {&TonvikBase::channelPressureSymbol_, 0, Bit(5), 0},
      {&TonvikBase::pitchBendSymbol_, 0, Bit(6), 0},
      {&TonvikBase::modeSymbol_, 0, 0, kModeBits},
      {&TonvikBase::localControlOffSymbol_, 0, 0, Bit(0)},
      {&TonvikBase::localControlOnSymbol_, 0, 0, Bit(1)},
      {&TonvikBase::allNotesOffSymbol_, 0, 0, Bit(2)},
      {&TonvikBase::omniModeOffSymbol_, 0, 0, Bit(3)},
      {&TonvikBase::omniModeOnSymbol_, 0, 0, Bit(4)},
      {&TonvikBase::monoModeOnSymbol_, 0, 0, Bit(5)},
      {&TonvikBase::polyModeOnSymbol_, 0, 0, Bit(6)},
  };
  std::uint16_t chosen = 0;
  const std::int32_t channelResult = ReadChannelSet(channels, &chosen);
  if (channelResult != kErrNone || chosen == 0) return channelResult;

  for (int byte = 0; byte < kFilterBytes; ++byte) {
    if (chosen & (1u << byte)) {
      statusFilter_[byte].fetch_and(static_cast<std::uint8_t>(~kChannelBits),
                                    std::memory_order_relaxed);
      modeFilter_[byte].fetch_and(static_cast<std::uint8_t>(~kChannelBits),
                                  std::memory_order_relaxed);
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
    } else if (channel >= kLowestChannel && channel <= kHighestChannel) {
      *set = static_cast<std::uint16_t>(1u << (channel - kLowestChannel));
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
    } else if (channel < kLowestChannel || channel > kHighestChannel) {
      result = kErrParameterOutOfRange;
    } else {
      gathered |= static_cast<std::uint16_t>(1u << (channel - kLowestChannel));
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
