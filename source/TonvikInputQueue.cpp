// The input queue: sizing, the receive path that packs records into the ring on the MIDI receive
// thread, and the script's small queue operations.
#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <limits>

#include "InputFilterLayout.h"
#include "InputRecord.h"
#include "MidiBytes.h"
#include "TonvikBase.h"

namespace {

constexpr std::uint32_t kMinimumQueueSize = 1024;
constexpr std::uint32_t kBitsPerMarkByte = 8;

using inputrecord::kTimestampBytes;

// The timestamp as a number whose bytes in memory run most significant first, on a
// little-endian machine.
std::uint32_t BigEndianInMemory(std::uint32_t timestamp) {
  return timestamp >> 24 | (timestamp >> 8 & 0xFF00u) | (timestamp << 8 & 0xFF0000u) |
         timestamp << 24;
}

}  // namespace

std::int32_t TonvikBase::AllocateInputQueue(std::uint32_t bufSize) {
  const std::uint32_t size = std::max(bufSize, kMinimumQueueSize);
  if (inputQueue_ == nullptr || inputQueueSize_ != size) {
    if (inputQueue_ != nullptr) allocator_->FreeBlock(inputQueue_);
    inputQueue_ = nullptr;
    sysexEndMarks_ = nullptr;
    // The end marks share the ring's block; a ring too large to carry them cannot be had.
    const std::uint64_t markBytes = (std::uint64_t{size} + kBitsPerMarkByte - 1) / kBitsPerMarkByte;
    const std::uint64_t blockSize = size + markBytes;
    if (blockSize <= std::numeric_limits<std::uint32_t>::max()) {
      auto* block = static_cast<std::uint8_t*>(
          allocator_->AllocateBlock(static_cast<std::uint32_t>(blockSize)));
      if (block != nullptr) {
        inputQueue_ = block;
        sysexEndMarks_ = block + size;
        std::memset(sysexEndMarks_, 0, static_cast<std::size_t>(markBytes));
      }
    }
    inputQueueSize_ = size;
  }
  // Input is closed here, so no producer runs; opening the port orders these stores before it.
  inputReadIndex_.store(0, std::memory_order_relaxed);
  inputWriteIndex_.store(0, std::memory_order_relaxed);
  inputOverflowed_.store(0, std::memory_order_relaxed);
  sysexInProgress_ = false;
  heldMessageCount_ = 0;
  return inputQueue_ == nullptr ? kErrNotEnoughMemory : kErrNone;
}

bool TonvikBase::MessagesPending() const {
  return inputReadIndex_.load(std::memory_order_relaxed) !=
         inputWriteIndex_.load(std::memory_order_acquire);
}

bool TonvikBase::InputOverflowed() {
  return inputOverflowed_.exchange(0, std::memory_order_relaxed) != 0;
}

void TonvikBase::FlushInput() {
  inputReadIndex_.store(inputWriteIndex_.load(std::memory_order_acquire),
                        std::memory_order_release);
  inputOverflowed_.store(0, std::memory_order_relaxed);
}

std::uint32_t TonvikBase::FreeSpace(std::uint32_t from) const {
  const std::uint32_t read = inputReadIndex_.load(std::memory_order_acquire);
  const std::uint64_t distance =
      read > from ? std::uint64_t{read} - from : std::uint64_t{inputQueueSize_} - from + read;
  return static_cast<std::uint32_t>(distance - 1);
}

std::uint32_t TonvikBase::Advance(std::uint32_t position, std::uint32_t count) const {
  // Callers move at most one lap, where a compare does the work of a division.
  const std::uint64_t sum = std::uint64_t{position} + count;
  if (sum < inputQueueSize_) return static_cast<std::uint32_t>(sum);
  if (sum < 2 * std::uint64_t{inputQueueSize_}) {
    return static_cast<std::uint32_t>(sum - inputQueueSize_);
  }
  return static_cast<std::uint32_t>(sum % inputQueueSize_);
}

std::uint32_t TonvikBase::WriteBytes(std::uint32_t position, const std::uint8_t* bytes,
                                     std::uint32_t count) {
  const std::uint32_t untilEnd = inputQueueSize_ - position;
  if (count <= untilEnd) {
    std::memcpy(inputQueue_ + position, bytes, count);
  } else {
    std::memcpy(inputQueue_ + position, bytes, untilEnd);
    std::memcpy(inputQueue_, bytes + untilEnd, count - untilEnd);
  }
  return Advance(position, count);
}

std::uint32_t TonvikBase::WriteTimestamp(std::uint32_t position, std::uint32_t timestamp) {
  std::uint8_t bytes[kTimestampBytes];
  inputrecord::storeTimestamp(bytes, timestamp);
  return WriteBytes(position, bytes, kTimestampBytes);
}

bool TonvikBase::StatusFilterAdmits(std::uint8_t status) const {
  return (statusFilter_[filterlayout::statusByteIndex(status)].load(std::memory_order_relaxed) &
          filterlayout::statusBit(status)) != 0;
}

void TonvikBase::MarkOverflow() {
  inputOverflowed_.store(1, std::memory_order_relaxed);
}

bool TonvikBase::HasShortRecordRoom(std::uint32_t start) const {
  return FreeSpace(start) >= inputrecord::kLongestShortRecord;
}

void TonvikBase::PublishShortRecord(std::uint32_t start, const std::uint8_t* bytes,
                                    std::uint32_t length, std::uint32_t timestamp) {
  // The ring and its size are held in locals because a byte store may alias any member.
  std::uint8_t* const ring = inputQueue_;
  const std::uint32_t size = inputQueueSize_;
  const std::uint32_t recordLength = length + kTimestampBytes;
  std::uint32_t end;
  if (std::endian::native == std::endian::little && recordLength < size - start) {
    // The usual case, a record that does not reach the ring's end: two overlapping 4-byte
    // stores write exactly its 5 to 7 bytes, the message's bytes and then the timestamp.
    const std::uint32_t stamp = BigEndianInMemory(timestamp);
    const std::uint32_t message =
        (bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16) &
        ((1u << (8 * length)) - 1);
    const std::uint32_t head = message | stamp << (8 * length);
    std::memcpy(ring + start, &head, sizeof(head));
    std::memcpy(ring + start + length, &stamp, sizeof(stamp));
    end = start + recordLength;
  } else {
    // Across the end, byte by byte: calls to memcpy would cost more than the copy.
    std::uint8_t stamp[kTimestampBytes];
    inputrecord::storeTimestamp(stamp, timestamp);
    end = start;
    const auto put = [&](std::uint8_t byte) {
      ring[end] = byte;
      end = end + 1 == size ? 0 : end + 1;
    };
    for (std::uint32_t i = 0; i < length; ++i) put(bytes[i]);
    for (const std::uint8_t byte : stamp) put(byte);
  }
  inputWriteIndex_.store(end, std::memory_order_release);
}

void TonvikBase::PublishShortRecordOrMarkOverflow(const std::uint8_t* bytes, std::uint32_t length,
                                                  std::uint32_t timestamp) {
  const std::uint32_t start = inputWriteIndex_.load(std::memory_order_relaxed);
  if (HasShortRecordRoom(start)) {
    PublishShortRecord(start, bytes, length, timestamp);
  } else {
    MarkOverflow();
  }
}

void TonvikBase::ReceiveShortMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                                     std::uint32_t timestamp) {
  if (inputQueue_ == nullptr) return;
  if (sysexInProgress_) {
    // A closing F7 in a packet of its own (a driver's last piece, or a cut into 256 + 1 bytes)
    // ends the message like any last chunk; its data bytes, if any, belong to nothing.
    if (status == midi::kSysexEnd) {
      AppendSysexChunk(&midi::kSysexEnd, 1, timestamp);
      return;
    }
    // Unsigned: a timer reset, which makes the time go backwards, counts as long after.
    if (timestamp - sysexLastChunkTime_ > kSysexSilenceLimitMs) EndSysexAssembly();
  }
  // Only this thread moves the write position and the reader only frees room, so the room found
  // here still holds when the record is written.
  const std::uint32_t start = inputWriteIndex_.load(std::memory_order_relaxed);
  if (!HasShortRecordRoom(start)) {
    MarkOverflow();
    return;
  }

  std::uint32_t length = midi::kLongestShortMessage;
  if (midi::isChannelModeMessage(status, data1)) {
    const std::uint8_t bit = filterlayout::modeBit(data1, data2);
    if ((modeFilter_[midi::channelOf(status)].load(std::memory_order_relaxed) & bit) == 0) return;
  } else {
    if (midi::kindOf(status) == midi::kNoteOn && data2 == 0) {
      status = static_cast<std::uint8_t>(midi::kNoteOff | midi::channelOf(status));
    }
    if (!StatusFilterAdmits(status)) return;
    length = inputrecord::storedLength(status);
    if (length == 0) return;
  }

  const std::uint8_t bytes[midi::kLongestShortMessage] = {status, data1, data2};
  if (sysexInProgress_) {
    // The unpublished system-exclusive bytes lie at the write position: wait behind them.
    if (heldMessageCount_ < kHeldMessageCapacity) {
      HeldMessage& held = heldMessages_[heldMessageCount_++];
      std::memcpy(held.bytes, bytes, sizeof(bytes));
      held.length = static_cast<std::uint8_t>(length);
      held.timestamp = timestamp;
      return;
    }
    // A dump that keeps this many messages waiting is taken to be broken; only it is lost.
    EndSysexAssembly();
    PublishShortRecordOrMarkOverflow(bytes, length, timestamp);
    return;
  }
  PublishShortRecord(start, bytes, length, timestamp);
}

void TonvikBase::EndSysexAssembly() {
  sysexInProgress_ = false;
  for (std::uint32_t i = 0; i < heldMessageCount_; ++i) {
    const HeldMessage& held = heldMessages_[i];
    PublishShortRecordOrMarkOverflow(held.bytes, held.length, held.timestamp);
  }
  heldMessageCount_ = 0;
}

void TonvikBase::ReceiveSysexStart(const std::uint8_t* bytes, std::uint32_t length,
                                   std::uint32_t timestamp) {
  if (inputQueue_ == nullptr || length == 0) return;
  if (sysexInProgress_) EndSysexAssembly();  // abandons the unfinished message, silently

  // The room test comes before the filter, as for short messages: a full ring flags whatever
  // arrives. A filtered message claims no room, so its later chunks flag nothing.
  const std::uint32_t start = inputWriteIndex_.load(std::memory_order_relaxed);
  if (FreeSpace(start) < std::uint64_t{length} + kTimestampBytes) {
    MarkOverflow();
    return;
  }
  if (!StatusFilterAdmits(midi::kSysexStart)) return;
  sysexTimestamp_ = timestamp;
  sysexLastChunkTime_ = timestamp;
  sysexWriteIndex_ = WriteBytes(start, bytes, length);
  if (bytes[length - 1] == midi::kSysexEnd) {
    CompleteSysex();
  } else {
    sysexInProgress_ = true;
  }
}

void TonvikBase::ReceiveSysexContinuation(const std::uint8_t* bytes, std::uint32_t length) {
  if (!sysexInProgress_ || length == 0) return;
  // The chunk's time only measures how long the message has been silent; the record keeps the
  // time of its first chunk.
  AppendSysexChunk(bytes, length, static_cast<std::uint32_t>(GetTime()));
}

void TonvikBase::AppendSysexChunk(const std::uint8_t* bytes, std::uint32_t length,
                                  std::uint32_t timestamp) {
  sysexLastChunkTime_ = timestamp;
  if (FreeSpace(sysexWriteIndex_) < std::uint64_t{length} + kTimestampBytes) {
    MarkOverflow();
    EndSysexAssembly();
    return;
  }
  sysexWriteIndex_ = WriteBytes(sysexWriteIndex_, bytes, length);
  if (bytes[length - 1] == midi::kSysexEnd) CompleteSysex();
}

void TonvikBase::CompleteSysex() {
  const std::uint32_t start = inputWriteIndex_.load(std::memory_order_relaxed);
  const std::uint32_t finalEnd = Advance(sysexWriteIndex_, inputQueueSize_ - 1);
  // F0 F7 carries nothing for the script.
  if (Advance(start, inputrecord::kEmptySysexLength) != sysexWriteIndex_) {
    ClearSysexEndMarks(start, finalEnd);
    SetSysexEndMark(finalEnd);
    const std::uint32_t end = WriteTimestamp(sysexWriteIndex_, sysexTimestamp_);
    inputWriteIndex_.store(end, std::memory_order_release);
  }
  EndSysexAssembly();
}

void TonvikBase::SetSysexEndMark(std::uint32_t position) {
  std::atomic_ref<std::uint8_t>(sysexEndMarks_[position / kBitsPerMarkByte])
      .fetch_or(static_cast<std::uint8_t>(1u << (position % kBitsPerMarkByte)),
                std::memory_order_relaxed);
}

bool TonvikBase::IsSysexEndMark(std::uint32_t position) const {
  const std::uint8_t marks =
      std::atomic_ref<std::uint8_t>(sysexEndMarks_[position / kBitsPerMarkByte])
          .load(std::memory_order_relaxed);
  return (marks & (1u << (position % kBitsPerMarkByte))) != 0;
}

// Clears the marks of [from, to) so that stale marks of earlier records cannot cut a new record
// short. The mark bytes at either edge also hold marks of ring bytes that the reader owns, hence
// atomic operations on them.
void TonvikBase::ClearSysexEndMarks(std::uint32_t from, std::uint32_t to) {
  auto clearLinear = [this](std::uint32_t begin, std::uint32_t end) {
    while (begin < end && begin % kBitsPerMarkByte != 0) {
      std::atomic_ref<std::uint8_t>(sysexEndMarks_[begin / kBitsPerMarkByte])
          .fetch_and(static_cast<std::uint8_t>(~(1u << (begin % kBitsPerMarkByte))),
                     std::memory_order_relaxed);
      ++begin;
    }
    // Whole mark bytes in between cover only positions of the unpublished record, which the
    // reader last read before it released them: plain stores, at memset's speed, race with
    // nothing.
    const std::uint32_t wholeBytes = (end - begin) / kBitsPerMarkByte;
    std::memset(sysexEndMarks_ + begin / kBitsPerMarkByte, 0, wholeBytes);
    begin += wholeBytes * kBitsPerMarkByte;
    while (begin < end) {
      std::atomic_ref<std::uint8_t>(sysexEndMarks_[begin / kBitsPerMarkByte])
          .fetch_and(static_cast<std::uint8_t>(~(1u << (begin % kBitsPerMarkByte))),
                     std::memory_order_relaxed);
      ++begin;
    }
  };
  if (from <= to) {
    clearLinear(from, to);
  } else {
    clearLinear(from, inputQueueSize_);
    clearLinear(0, to);
  }
}
