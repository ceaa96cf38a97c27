// Reads a script's message list by position and hands its MIDI bytes to the platform.
#include "MidiBytes.h"
#include "TonvikBase.h"

namespace {

constexpr std::int32_t kTypePosition = 1;
constexpr std::int32_t kChannelPosition = 2;
constexpr std::int32_t kData1Position = 3;
constexpr std::int32_t kData2Position = 4;
constexpr std::int32_t kSystemData1Position = 2;
constexpr std::int32_t kSystemData2Position = 3;
constexpr std::int32_t kSysexDataPosition = 3;

}  // namespace

// One row of the message table: the type symbol, how the values are read, the status byte
// (channel 1) and, for the channel-mode messages, the fixed data bytes.
struct TonvikBase::SendRule {
  LingoSymbol TonvikBase::*type;
  SendLayout layout;
  std::uint8_t status;
  std::uint8_t data1;
  std::uint8_t data2;
};

std::int32_t TonvikBase::SendMessage(const LingoValue* message) {
  // Matched top to bottom, in the order of the message table.
  static constexpr SendRule kRules[] = {
      {&TonvikBase::noteOnSymbol_, SendLayout::Channel3, midi::kNoteOn, 0, 0},
      {&TonvikBase::noteOffSymbol_, SendLayout::Channel3, midi::kNoteOff, 0, 0},
      {&TonvikBase::polyKeyPressureSymbol_, SendLayout::Channel3, midi::kPolyKeyPressure, 0, 0},
      {&TonvikBase::controlChangeSymbol_, SendLayout::Channel3, midi::kControlChange, 0, 0},
      {&TonvikBase::programChangeSymbol_, SendLayout::Channel2, midi::kProgramChange, 0, 0},
      {&TonvikBase::channelPressureSymbol_, SendLayout::Channel2, midi::kChannelPressure, 0, 0},
      {&TonvikBase::pitchBendSymbol_, SendLayout::PitchBend, midi::kPitchBend, 0, 0},
      {&TonvikBase::localControlOffSymbol_, SendLayout::ChannelMode, midi::kControlChange,
       midi::kLocalControl, midi::kLocalControlOffValue},
      {&TonvikBase::localControlOnSymbol_, SendLayout::ChannelMode, midi::kControlChange,
       midi::kLocalControl, midi::kLocalControlOnValue},
      {&TonvikBase::allNotesOffSymbol_, SendLayout::ChannelMode, midi::kControlChange,
       midi::kAllNotesOff, 0},
      {&TonvikBase::omniModeOffSymbol_, SendLayout::ChannelMode, midi::kControlChange,
       midi::kOmniModeOff, 0},
      {&TonvikBase::omniModeOnSymbol_, SendLayout::ChannelMode, midi::kControlChange,
       midi::kOmniModeOn, 0},
      {&TonvikBase::monoModeOnSymbol_, SendLayout::MonoMode, midi::kControlChange,
       midi::kMonoModeOn, 0},
      {&TonvikBase::polyModeOnSymbol_, SendLayout::ChannelMode, midi::kControlChange,
       midi::kPolyModeOn, 0},
      {&TonvikBase::clockSymbol_, SendLayout::Status, midi::kClock, 0, 0},
      {&TonvikBase::startSymbol_, SendLayout::Status, midi::kStart, 0, 0},
      {&TonvikBase::stopSymbol_, SendLayout::Status, midi::kStop, 0, 0},
      {&TonvikBase::continueSymbol_, SendLayout::Status, midi::kContinue, 0, 0},
      {&TonvikBase::activeSensingSymbol_, SendLayout::Status, midi::kActiveSensing, 0, 0},
      {&TonvikBase::systemResetSymbol_, SendLayout::Status, midi::kSystemReset, 0, 0},
      {&TonvikBase::mtcQuarterFrameSymbol_, SendLayout::QuarterFrame, midi::kQuarterFrame, 0, 0},
      {&TonvikBase::songPositionPointerSymbol_, SendLayout::SongPosition, midi::kSongPosition, 0,
       0},
      {&TonvikBase::songSelectSymbol_, SendLayout::SongSelect, midi::kSongSelect, 0, 0},
      {&TonvikBase::tuneRequestSymbol_, SendLayout::Status, midi::kTuneRequest, 0, 0},
      {&TonvikBase::systemExclusiveSymbol_, SendLayout::SystemExclusive, midi::kSysexStart, 0, 0},
  };

  if (!outputOpen_) return kErrOutputNotOpen;

  LingoValue first;
  if (listInterface_->GetListItem(message, kTypePosition, &first) != kHostOk) {
    return kErrUnpackingMessage;
  }
  LingoSymbol type = 0;
  const HostStatus status = valueInterface_->ReadSymbolValue(&first, &type);
  valueInterface_->ReleaseValue(&first);
  if (status != kHostOk) return kErrMessageNotSymbol;

  for (const SendRule& rule : kRules) {
    if (this->*rule.type == type) return SendByRule(rule, message);
  }
  return kErrUnknownMessageType;
}

std::int32_t TonvikBase::SendByRule(const SendRule& rule, const LingoValue* message) {
  std::uint8_t status = rule.status;
  std::uint8_t data1 = rule.data1;
  std::uint8_t data2 = rule.data2;
  std::int32_t result = kErrNone;
  std::int32_t length = midi::kLongestShortMessage;

  switch (rule.layout) {
    case SendLayout::Channel3:
      result = UnpackChannelData1Data2(message, &status, &data1, &data2);
      break;
    case SendLayout::Channel2:
      result = UnpackChannelData1(message, &status, &data1);
      length = 2;
      break;
    case SendLayout::PitchBend:
      result = UnpackChannel(message, &status);
      if (result == kErrNone) {
        result = Get14BitProperty(message, kData1Position, midi::kPitchBendCentre, &data1, &data2);
      }
      break;
    case SendLayout::ChannelMode:
      result = UnpackChannel(message, &status);
      break;
    case SendLayout::MonoMode:
      result = UnpackChannel(message, &status);
      if (result == kErrNone) {
        result = GetIntegerProperty(message, kData1Position, 0, midi::kDataMaximum, &data2);
      }
      break;
    case SendLayout::Status:
      length = 1;
      break;
    case SendLayout::QuarterFrame: {
      std::uint8_t piece = 0;
      std::uint8_t value = 0;
      result = GetIntegerProperty(message, kSystemData1Position, 0, midi::kQuarterFramePieceMaximum,
                                  &piece);
      if (result == kErrNone) {
        result = GetIntegerProperty(message, kSystemData2Position, 0,
                                    midi::kQuarterFrameValueMaximum, &value);
      }
      data1 = static_cast<std::uint8_t>((piece << midi::kQuarterFramePieceShift) | value);
      length = 2;
      break;
    }
    case SendLayout::SongPosition:
      result = Get14BitProperty(message, kSystemData1Position, 0, &data1, &data2);
      break;
    case SendLayout::SongSelect:
      result = GetIntegerProperty(message, kSystemData1Position, 0, midi::kDataMaximum, &data1);
      length = 2;
      break;
    case SendLayout::SystemExclusive:
      return UnpackSysex(message);
  }
  if (result != kErrNone) return result;
  return SendShortMessage(status, data1, data2, length);
}

std::int32_t TonvikBase::ReadIntegerProperty(const LingoValue* message, std::int32_t position,
                                             std::int32_t* number) {
  LingoValue item;
  if (listInterface_->GetListItem(message, position, &item) != kHostOk) {
    return kErrMissingProperty;
  }
  // The item is released whether or not it read as an integer.
  const HostStatus status = valueInterface_->ReadIntegerValue(&item, number);
  valueInterface_->ReleaseValue(&item);
  return status == kHostOk ? kErrNone : kErrPropertyNotInteger;
}

std::int32_t TonvikBase::GetIntegerProperty(const LingoValue* message, std::int32_t position,
                                            std::int32_t minimum, std::int32_t maximum,
                                            std::uint8_t* value) {
  std::int32_t number = 0;
  const std::int32_t read = ReadIntegerProperty(message, position, &number);
  if (read != kErrNone) return read;
  if (number < minimum || number > maximum) return kErrPropertyOutOfRange;
  *value = static_cast<std::uint8_t>(number);
  return kErrNone;
}

std::int32_t TonvikBase::Get14BitProperty(const LingoValue* message, std::int32_t position,
                                          std::int32_t offset, std::uint8_t* low,
                                          std::uint8_t* high) {
  std::int32_t number = 0;
  const std::int32_t read = ReadIntegerProperty(message, position, &number);
  if (read != kErrNone) return read;
  // Unsigned, so that values below -offset wrap far above the maximum instead of overflowing.
  const std::uint32_t sum = static_cast<std::uint32_t>(number) + static_cast<std::uint32_t>(offset);
  if (sum > midi::kFourteenBitMaximum) return kErrPropertyOutOfRange;
  *low = static_cast<std::uint8_t>(sum & midi::kDataMask);
  *high = static_cast<std::uint8_t>((sum >> midi::kDataBits) & midi::kDataMask);
  return kErrNone;
}

std::int32_t TonvikBase::UnpackChannel(const LingoValue* message, std::uint8_t* status) {
  std::uint8_t channel = 0;
  const std::int32_t result =
      GetIntegerProperty(message, kChannelPosition, kFirstChannel, kLastChannel, &channel);
  if (result != kErrNone) return result;
  *status = static_cast<std::uint8_t>(*status | (channel - kFirstChannel));
  return kErrNone;
}

std::int32_t TonvikBase::UnpackChannelData1(const LingoValue* message, std::uint8_t* status,
                                            std::uint8_t* data1) {
  const std::int32_t result = UnpackChannel(message, status);
  if (result != kErrNone) return result;
  return GetIntegerProperty(message, kData1Position, 0, midi::kDataMaximum, data1);
}

std::int32_t TonvikBase::UnpackChannelData1Data2(const LingoValue* message, std::uint8_t* status,
                                                 std::uint8_t* data1, std::uint8_t* data2) {
  const std::int32_t result = UnpackChannelData1(message, status, data1);
  if (result != kErrNone) return result;
  return GetIntegerProperty(message, kData2Position, 0, midi::kDataMaximum, data2);
}

std::int32_t TonvikBase::UnpackSysex(const LingoValue* message) {
  std::uint8_t manufacturerId = 0;
  const std::int32_t idResult =
      GetIntegerProperty(message, kSystemData1Position, 0, midi::kDataMaximum, &manufacturerId);
  if (idResult != kErrNone) return idResult;

  LingoValue data;
  if (listInterface_->GetListItem(message, kSysexDataPosition, &data) != kHostOk) {
    return kErrMissingProperty;
  }
  std::int32_t type = kLingoTypeVoid;
  valueInterface_->ValueTypeOf(&data, &type);
  std::int32_t result = kErrInvalidParameterType;
  if (type == kLingoTypeLinearList) {
    result = SendSysex(manufacturerId, &data,
                       static_cast<std::uint32_t>(listInterface_->ListItemCount(&data)));
  }
  valueInterface_->ReleaseValue(&data);
  return result;
}
