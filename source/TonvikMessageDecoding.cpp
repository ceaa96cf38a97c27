// Turns queued records into the Lingo property lists that scripts receive.
#include "TonvikAssert.h"
#include "TonvikBase.h"

namespace {

constexpr std::uint8_t kStatusMask = 0xF0;
constexpr std::uint8_t kChannelMask = 0x0F;
constexpr std::uint8_t kFirstStatus = 0x80;
constexpr std::uint8_t kSysexStart = 0xF0;
constexpr std::uint8_t kPitchBend = 0xE0;
constexpr std::uint8_t kControlChange = 0xB0;
constexpr std::uint8_t kSystem = 0xF0;
constexpr std::uint8_t kQuarterFrame = 0xF1;
constexpr std::uint8_t kSongPosition = 0xF2;
constexpr std::uint8_t kSongSelect = 0xF3;
constexpr std::uint8_t kQuarterFramePieceMask = 7;
constexpr std::uint8_t kQuarterFrameValueMask = 0x0F;
constexpr std::uint32_t kTimestampBytes = 4;
constexpr int kDataBits = 7;
constexpr std::int32_t kPitchBendCentre = 8192;

constexpr std::uint8_t kFirstChannelModeController = 122;
constexpr std::uint8_t kLocalControl = 122;
constexpr std::uint8_t kAllNotesOff = 123;
constexpr std::uint8_t kOmniModeOff = 124;
constexpr std::uint8_t kOmniModeOn = 125;
constexpr std::uint8_t kMonoModeOn = 126;
constexpr std::uint8_t kPolyModeOn = 127;
constexpr std::uint8_t kLocalControlOffValue = 0;
constexpr std::uint8_t kLocalControlOnValue = 127;

}  // namespace

std::uint8_t TonvikBase::ByteAt(std::uint32_t position) const {
  return inputQueue_[position];
}

void TonvikBase::GetNextMessage(LingoValue* message) {
  if (!inputOpen_) return;
  const std::uint32_t read = inputReadIndex_.load(std::memory_order_relaxed);
  const std::uint32_t write = inputWriteIndex_.load(std::memory_order_acquire);
  if (read != write) TakeMessage(message, read, write);
}

void TonvikBase::GetPendingMessages(LingoValue* messages) {
  if (!inputOpen_) return;
  // Loaded once: what arrives during the call waits for the next one, so a sender faster than
  // the decoder cannot keep the call from returning.
  const std::uint32_t write = inputWriteIndex_.load(std::memory_order_acquire);
  for (std::uint32_t read = inputReadIndex_.load(std::memory_order_relaxed); read != write;
       read = inputReadIndex_.load(std::memory_order_relaxed)) {
    LingoValue message;
    if (listInterface_->NewPropertyList(&message) != kHostOk) return;
    TakeMessage(&message, read, write);
    if (listInterface_->ListItemCount(&message) > 0) {
      listInterface_->AppendListItem(messages, &message);
    }
    valueInterface_->ReleaseValue(&message);
  }
}

// Decodes the record at read into message and frees it. Records end where the next begins, so
// read never passes write.
void TonvikBase::TakeMessage(LingoValue* message, std::uint32_t read, std::uint32_t write) {
  bool recognised = false;
  std::uint32_t position = DecodeRecord(read, write, message, &recognised);
  if (recognised) {
    std::uint32_t timestamp = 0;
    for (std::uint32_t i = 0; i < kTimestampBytes; ++i) {
      timestamp = (timestamp << 8) | ByteAt(position);
      position = Advance(position, 1);
    }
    AppendIntegerProperty(message, &timestampValue_, static_cast<std::int32_t>(timestamp));
  } else {
    // Resynchronise on the next status byte; records of the receive path never come here.
    while (position != write && ByteAt(position) < kFirstStatus) position = Advance(position, 1);
  }
  inputReadIndex_.store(position, std::memory_order_release);
}

// Appends #type and the properties of the record at position; answers the position after its
// data bytes. recognised is cleared when the bytes form no message.
std::uint32_t TonvikBase::DecodeRecord(std::uint32_t position, std::uint32_t end,
                                       LingoValue* message, bool* recognised) {
  const std::uint8_t status = ByteAt(position);
  position = Advance(position, 1);
  *recognised = true;
  if (status < kFirstStatus) {
    *recognised = false;
    return position;
  }

  const std::int32_t channel = (status & kChannelMask) + 1;
  auto readByte = [&]() {
    const std::uint8_t byte = ByteAt(position);
    position = Advance(position, 1);
    return byte;
  };
  auto appendType = [&](const LingoValue& type) {
    listInterface_->AppendProperty(message, &typeValue_, &type);
  };

  // Channel messages of one or two data bytes: type, second key, third key (if any).
  struct ChannelRow {
    LingoValue TonvikBase::*type;
    LingoValue TonvikBase::*firstKey;
    LingoValue TonvikBase::*secondKey;
  };
  static constexpr ChannelRow kChannelRows[] = {
      {&TonvikBase::noteOffValue_, &TonvikBase::numberValue_, &TonvikBase::velocityValue_},
      {&TonvikBase::noteOnValue_, &TonvikBase::numberValue_, &TonvikBase::velocityValue_},
      {&TonvikBase::polyKeyPressureValue_, &TonvikBase::numberValue_, &TonvikBase::pressureValue_},
      {nullptr, nullptr, nullptr},  // control change, decoded apart
      {&TonvikBase::programChangeValue_, &TonvikBase::numberValue_, nullptr},
      {&TonvikBase::channelPressureValue_, &TonvikBase::numberValue_, nullptr},
  };

  const std::uint8_t kind = status & kStatusMask;
  if (kind == kControlChange) return DecodeControlChange(position, status, message, recognised);
  if (kind == kPitchBend) {
    const std::uint8_t low = readByte();
    const std::uint8_t high = readByte();
    appendType(pitchBendValue_);
    AppendIntegerProperty(message, &channelValue_, channel);
    AppendIntegerProperty(message, &amountValue_, ((high << kDataBits) | low) - kPitchBendCentre);
    return position;
  }
  if (kind != kSystem) {
    const ChannelRow& row = kChannelRows[(kind - kFirstStatus) >> 4];
    const std::uint8_t data1 = readByte();
    appendType(this->*row.type);
    AppendIntegerProperty(message, &channelValue_, channel);
    AppendIntegerProperty(message, &(this->*row.firstKey), data1);
    if (row.secondKey != nullptr) {
      AppendIntegerProperty(message, &(this->*row.secondKey), readByte());
    }
    return position;
  }

  switch (status) {
    case kSysexStart:
      return DecodeSysex(position, end, message);
    case kQuarterFrame: {
      const std::uint8_t data1 = readByte();
      appendType(mtcQuarterFrameValue_);
      AppendIntegerProperty(message, &subFrameValue_, (data1 >> 4) & kQuarterFramePieceMask);
      AppendIntegerProperty(message, &dataValue_, data1 & kQuarterFrameValueMask);
      return position;
    }
    case kSongPosition: {
      const std::uint8_t low = readByte();
      const std::uint8_t high = readByte();
      appendType(songPositionPointerValue_);
      AppendIntegerProperty(message, &positionValue_, (high << kDataBits) | low);
      return position;
    }
    case kSongSelect: {
      const std::uint8_t data1 = readByte();
      appendType(songSelectValue_);
      AppendIntegerProperty(message, &numberValue_, data1);
      return position;
    }
    default:
      break;
  }

  static constexpr struct {
    std::uint8_t status;
    LingoValue TonvikBase::*type;
  } kStatusOnlyRows[] = {
      {0xF6, &TonvikBase::tuneRequestValue_}, {0xF8, &TonvikBase::clockValue_},
      {0xFA, &TonvikBase::startValue_},       {0xFB, &TonvikBase::continueValue_},
      {0xFC, &TonvikBase::stopValue_},        {0xFE, &TonvikBase::activeSensingValue_},
      {0xFF, &TonvikBase::systemResetValue_},
  };
  for (const auto& row : kStatusOnlyRows) {
    if (row.status == status) {
      appendType(this->*row.type);
      return position;
    }
  }
  *recognised = false;
  return position;
}

std::uint32_t TonvikBase::DecodeControlChange(std::uint32_t position, std::uint8_t status,
                                              LingoValue* message, bool* recognised) {
  const std::uint8_t controller = ByteAt(position);
  position = Advance(position, 1);
  const std::uint8_t value = ByteAt(position);
  position = Advance(position, 1);

  const LingoValue* type = nullptr;
  if (controller < kFirstChannelModeController) {
    listInterface_->AppendProperty(message, &typeValue_, &controlChangeValue_);
    AppendIntegerProperty(message, &channelValue_, (status & kChannelMask) + 1);
    AppendIntegerProperty(message, &numberValue_, controller);
    AppendIntegerProperty(message, &valueValue_, value);
    return position;
  }
  switch (controller) {
    case kLocalControl:
      if (value == kLocalControlOffValue) type = &localControlOffValue_;
      if (value == kLocalControlOnValue) type = &localControlOnValue_;
      break;
    case kAllNotesOff:
      type = &allNotesOffValue_;
      break;
    case kOmniModeOff:
      type = &omniModeOffValue_;
      break;
    case kOmniModeOn:
      type = &omniModeOnValue_;
      break;
    case kMonoModeOn:
      type = &monoModeOnValue_;
      break;
    case kPolyModeOn:
      type = &polyModeOnValue_;
      break;
    default:
      break;
  }
  if (type == nullptr) {
    *recognised = false;
    return position;
  }
  listInterface_->AppendProperty(message, &typeValue_, type);
  if (controller == kMonoModeOn) AppendIntegerProperty(message, &numChannelsValue_, value);
  return position;
}

// position is just after the 0xF0. The record's end mark, not the first 0xF7, ends #data, so a
// record holding more than one message is reported whole and the queue stays in step.
std::uint32_t TonvikBase::DecodeSysex(std::uint32_t position, std::uint32_t end,
                                      LingoValue* message) {
  listInterface_->AppendProperty(message, &typeValue_, &systemExclusiveValue_);
  AppendIntegerProperty(message, &manufacturerIdValue_, ByteAt(position));
  position = Advance(position, 1);

  LingoValue data;
  listInterface_->NewLinearList(&data);
  while (!IsSysexEndMark(position)) {
    TONVIK_ASSERT(position != end);
    LingoValue item;
    valueInterface_->MakeIntegerValue(ByteAt(position), &item);
    listInterface_->AppendListItem(&data, &item);
    valueInterface_->ReleaseValue(&item);
    position = Advance(position, 1);
  }
  position = Advance(position, 1);
  listInterface_->AppendProperty(message, &dataValue_, &data);
  valueInterface_->ReleaseValue(&data);
  return position;
}
