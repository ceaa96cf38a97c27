// Turns queued records into the Lingo property lists that scripts receive.
#include "InputRecord.h"
#include "MidiBytes.h"
#include "TonvikAssert.h"
#include "TonvikBase.h"

namespace {

// Pitch bend and song position: least significant 7 bits first.
std::int32_t FourteenBits(const std::uint8_t* data) {
  return (data[1] << midi::kDataBits) | data[0];
}

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
    std::uint8_t stamp[inputrecord::kTimestampBytes];
    position = ReadBytes(position, stamp, inputrecord::kTimestampBytes);
    AppendIntegerProperty(message, &timestampValue_,
                          static_cast<std::int32_t>(inputrecord::loadTimestamp(stamp)));
  } else {
    // Resynchronise on the next status byte; records of the receive path never come here.
    while (position != write && midi::isDataByte(ByteAt(position))) {
      position = Advance(position, 1);
    }
  }
  inputReadIndex_.store(position, std::memory_order_release);
}

std::uint32_t TonvikBase::ReadBytes(std::uint32_t position, std::uint8_t* bytes,
                                    std::uint32_t count) const {
  for (std::uint32_t i = 0; i < count; ++i) {
    bytes[i] = ByteAt(position);
    position = Advance(position, 1);
  }
  return position;
}

// Appends #type and the properties of the record at position; answers the position after its
// MIDI bytes. recognised is cleared when the bytes form no message.
std::uint32_t TonvikBase::DecodeRecord(std::uint32_t position, std::uint32_t end,
                                       LingoValue* message, bool* recognised) {
  const std::uint8_t status = ByteAt(position);
  position = Advance(position, 1);
  if (status == midi::kSysexStart) {
    *recognised = true;
    return DecodeSysex(position, end, message);
  }
  // The status byte says how many data bytes follow; a status byte never stored reads none.
  const std::uint32_t length = inputrecord::storedLength(status);
  std::uint8_t data[midi::kLongestShortMessage - 1] = {0, 0};
  if (length > 1) position = ReadBytes(position, data, length - 1);
  if (length == 0) {
    *recognised = false;
  } else if (midi::kindOf(status) == midi::kSystem) {
    *recognised = AppendSystemMessage(status, data, message);
  } else {
    *recognised = AppendChannelMessage(status, data, message);
  }
  return position;
}

void TonvikBase::AppendType(LingoValue* message, const LingoValue& type) {
  listInterface_->AppendProperty(message, &typeValue_, &type);
}

bool TonvikBase::AppendChannelMessage(std::uint8_t status, const std::uint8_t* data,
                                      LingoValue* message) {
  if (midi::isChannelModeMessage(status, data[0])) {
    return AppendChannelModeMessage(data[0], data[1], message);
  }
  // By kind, from note-off on: the type and the keys of the data bytes. Pitch bend's two bytes
  // make one amount.
  struct Layout {
    LingoValue TonvikBase::*type;
    LingoValue TonvikBase::*firstKey;
    LingoValue TonvikBase::*secondKey;
  };
  static constexpr Layout kLayouts[] = {
      {&TonvikBase::noteOffValue_, &TonvikBase::numberValue_, &TonvikBase::velocityValue_},
      {&TonvikBase::noteOnValue_, &TonvikBase::numberValue_, &TonvikBase::velocityValue_},
      {&TonvikBase::polyKeyPressureValue_, &TonvikBase::numberValue_, &TonvikBase::pressureValue_},
      {&TonvikBase::controlChangeValue_, &TonvikBase::numberValue_, &TonvikBase::valueValue_},
      {&TonvikBase::programChangeValue_, &TonvikBase::numberValue_, nullptr},
      {&TonvikBase::channelPressureValue_, &TonvikBase::numberValue_, nullptr},
      {&TonvikBase::pitchBendValue_, &TonvikBase::amountValue_, nullptr},
  };
  const std::uint8_t kind = midi::kindOf(status);
  const Layout& layout = kLayouts[(kind - midi::kNoteOff) >> 4];
  AppendType(message, this->*layout.type);
  AppendIntegerProperty(message, &channelValue_, midi::channelOf(status) + 1);
  if (kind == midi::kPitchBend) {
    AppendIntegerProperty(message, &amountValue_, FourteenBits(data) - midi::kPitchBendCentre);
    return true;
  }
  AppendIntegerProperty(message, &(this->*layout.firstKey), data[0]);
  if (layout.secondKey != nullptr) {
    AppendIntegerProperty(message, &(this->*layout.secondKey), data[1]);
  }
  return true;
}

// Channel-mode messages carry no channel; only mono mode carries a value.
bool TonvikBase::AppendChannelModeMessage(std::uint8_t controller, std::uint8_t value,
                                          LingoValue* message) {
  const LingoValue* type = nullptr;
  switch (controller) {
    case midi::kLocalControl:
      if (value == midi::kLocalControlOffValue) type = &localControlOffValue_;
      if (value == midi::kLocalControlOnValue) type = &localControlOnValue_;
      break;
    case midi::kAllNotesOff:
      type = &allNotesOffValue_;
      break;
    case midi::kOmniModeOff:
      type = &omniModeOffValue_;
      break;
    case midi::kOmniModeOn:
      type = &omniModeOnValue_;
      break;
    case midi::kMonoModeOn:
      type = &monoModeOnValue_;
      break;
    case midi::kPolyModeOn:
      type = &polyModeOnValue_;
      break;
    default:
      break;
  }
  if (type == nullptr) return false;
  AppendType(message, *type);
  if (controller == midi::kMonoModeOn) AppendIntegerProperty(message, &numChannelsValue_, value);
  return true;
}

bool TonvikBase::AppendSystemMessage(std::uint8_t status, const std::uint8_t* data,
                                     LingoValue* message) {
  switch (status) {
    case midi::kQuarterFrame:
      AppendType(message, mtcQuarterFrameValue_);
      AppendIntegerProperty(
          message, &subFrameValue_,
          (data[0] >> midi::kQuarterFramePieceShift) & midi::kQuarterFramePieceMaximum);
      AppendIntegerProperty(message, &dataValue_, data[0] & midi::kQuarterFrameValueMask);
      return true;
    case midi::kSongPosition:
      AppendType(message, songPositionPointerValue_);
      AppendIntegerProperty(message, &positionValue_, FourteenBits(data));
      return true;
    case midi::kSongSelect:
      AppendType(message, songSelectValue_);
      AppendIntegerProperty(message, &numberValue_, data[0]);
      return true;
    default:
      break;
  }
  static constexpr struct {
    std::uint8_t status;
    LingoValue TonvikBase::*type;
  } kStatusOnly[] = {
      {midi::kTuneRequest, &TonvikBase::tuneRequestValue_},
      {midi::kClock, &TonvikBase::clockValue_},
      {midi::kStart, &TonvikBase::startValue_},
      {midi::kContinue, &TonvikBase::continueValue_},
      {midi::kStop, &TonvikBase::stopValue_},
      {midi::kActiveSensing, &TonvikBase::activeSensingValue_},
      {midi::kSystemReset, &TonvikBase::systemResetValue_},
  };
  for (const auto& row : kStatusOnly) {
    if (row.status != status) continue;
    AppendType(message, this->*row.type);
    return true;
  }
  return false;
}

// position is just after the 0xF0. The record's end mark, not the first 0xF7, ends #data, so a
// record holding more than one message is reported whole and the queue stays in step.
std::uint32_t TonvikBase::DecodeSysex(std::uint32_t position, std::uint32_t end,
                                      LingoValue* message) {
  AppendType(message, systemExclusiveValue_);
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
