// The platform-independent state of one Xtra instance: host references, the symbol vocabulary,
// the lock-free input queue with its filters, the conversions between MIDI bytes and Lingo
// message lists, and the contract of virtual operations that a platform class fulfils.
#pragma once

#include <atomic>
#include <cstdint>

#include "HostInterfaces.h"
#include "HostTypes.h"
#include "InputFilterLayout.h"
#include "LingoValue.h"
#include "MidiBytes.h"

// Error codes of the instance. Platforms define their own from kErrFirstPlatformCode on.
enum TonvikError : std::int32_t {
  kErrNone = 0,
  kErrNotInitialised = 2,
  kErrInternalDriver = 3,
  kErrInvalidParameterType = 4,
  kErrInvalidParameterValue = 5,
  kErrParameterOutOfRange = 6,
  kErrUnknownMessageType = 7,
  kErrMessageNotSymbol = 8,
  kErrUnpackingMessage = 9,
  kErrPropertyNotInteger = 10,
  kErrMissingProperty = 11,
  kErrPropertyOutOfRange = 12,
  kErrInputNotOpen = 13,
  kErrOutputNotOpen = 14,
  kErrInvalidPortNumber = 15,
  kErrNotEnoughMemory = 16,
  kErrInputAlreadyOpen = 17,
  kErrOutputAlreadyOpen = 18,
  kErrFirstPlatformCode = 1000,
};

class TonvikBase {
 public:
  // The three host references are not owned: the scripting object outlives the instance.
  TonvikBase(HostValueInterface* valueInterface, HostListInterface* listInterface,
             HostAllocator* allocator);
  virtual ~TonvikBase();
  TonvikBase(const TonvikBase&) = delete;
  TonvikBase& operator=(const TonvikBase&) = delete;

  // The operation table, in its fixed order. Results of type std::int32_t are error codes.
  virtual std::int32_t Init() = 0;
  virtual std::int32_t GetTime() = 0;
  virtual void ResetTimer() = 0;
  virtual void GetInputPorts(LingoValue* list) = 0;
  virtual std::int32_t OpenInput(std::int32_t port, std::int32_t bufSize) = 0;
  virtual std::int32_t CloseInput() = 0;
  virtual void GetOutputPorts(LingoValue* list) = 0;
  virtual std::int32_t OpenOutput(std::int32_t port) = 0;
  virtual std::int32_t CloseOutput() = 0;
  virtual HostStatus MakeErrorResult(std::int32_t code, LingoValue* result);
  virtual std::int32_t SendShortMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                                        std::int32_t length) = 0;
  virtual std::int32_t SendSysex(std::uint8_t manufacturerId, const LingoValue* data,
                                 std::uint32_t count) = 0;
  virtual void AcquireOrReleaseSymbols(bool acquire);

  // Script operations, called by the dispatcher on the host thread.
  std::int32_t SetSystemFilter(const LingoValue* messageTypes);
  std::int32_t SetChannelFilter(const LingoValue* messageTypes, const LingoValue* channels);
  bool MessagesPending() const;
  bool InputOverflowed();
  void FlushInput();
  void GetNextMessage(LingoValue* message);
  void GetPendingMessages(LingoValue* messages);
  std::int32_t SendMessage(const LingoValue* message);

 protected:
  // Sizes and empties the queue; called by OpenInput while input is closed.
  std::int32_t AllocateInputQueue(std::uint32_t bufSize);

  // The receive path, called on the MIDI receive thread only: it allocates nothing, takes no
  // lock and makes no host call.
  void ReceiveShortMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                           std::uint32_t timestamp);
  void ReceiveSysexStart(const std::uint8_t* bytes, std::uint32_t length, std::uint32_t timestamp);
  void ReceiveSysexContinuation(const std::uint8_t* bytes, std::uint32_t length);

  // Reads the integer at a one-based position of a message list, checked against an inclusive
  // range; stores its low 8 bits.
  // The error list [#code: code, #text: message], keyed by the instance's own symbol values; for
  // platform codes that the base table does not know.
  HostStatus MakeErrorResultWithText(std::int32_t code, const char* message, LingoValue* result);

  std::int32_t GetIntegerProperty(const LingoValue* message, std::int32_t position,
                                  std::int32_t minimum, std::int32_t maximum, std::uint8_t* value);

  bool inputOpen_;
  bool outputOpen_;
  HostValueInterface* valueInterface_;
  HostListInterface* listInterface_;
  HostAllocator* allocator_;

 private:
  friend class TonvikBaseInternals;  // lets tests and fuzz targets read the queue and the symbol
                                     // count

  // How SendMessage reads and packs one message type.
  enum class SendLayout : std::uint8_t {
    Channel2,      // channel, one data byte
    Channel3,      // channel, two data bytes
    PitchBend,     // channel, 14-bit signed amount
    ChannelMode,   // channel; both data bytes fixed
    MonoMode,      // channel, channel count
    Status,        // status byte alone
    QuarterFrame,  // piece, value
    SongPosition,  // 14-bit position
    SongSelect,    // song number
    SystemExclusive
  };
  struct SendRule;
  struct SymbolEntry;
  struct FilterSymbol;
  struct HeldMessage {
    std::uint8_t bytes[3];
    std::uint8_t length;
    std::uint32_t timestamp;
  };

  // Scripts number channels from 1.
  static constexpr std::int32_t kFirstChannel = 1;
  static constexpr std::int32_t kLastChannel = midi::kChannels;
  static constexpr std::uint32_t kHeldMessageCapacity = 64;
  // A system-exclusive message that has sent nothing for longer than this while other messages
  // arrive is taken to be broken: its sender died or lost the end.
  static constexpr std::uint32_t kSysexSilenceLimitMs = 500;
  static constexpr int kFilterBytes = filterlayout::kFilterBytes;

  void InitSymbols();
  void ReleaseSymbols();
  HostStatus AcquireSymbolValue(const char* name, LingoSymbol* handle, LingoValue* value);
  void ReleaseSymbolValue(LingoSymbol handle, LingoValue* value);
  void AppendIntegerProperty(LingoValue* list, const LingoValue* key, std::int32_t number);

  // Filters.
  std::int32_t ApplyMessageTypes(const LingoValue* messageTypes, const FilterSymbol* table,
                                 int tableLength, std::uint16_t channels);
  std::int32_t ApplyFilterSymbol(LingoSymbol symbol, const FilterSymbol* table, int tableLength,
                                 std::uint16_t channels);
  std::int32_t ReadChannelSet(const LingoValue* channels, std::uint16_t* set);

  // Queue, producer side.
  std::uint32_t FreeSpace(std::uint32_t from) const;
  std::uint32_t Advance(std::uint32_t position, std::uint32_t count) const;
  std::uint32_t WriteBytes(std::uint32_t position, const std::uint8_t* bytes, std::uint32_t count);
  std::uint32_t WriteTimestamp(std::uint32_t position, std::uint32_t timestamp);
  bool HasShortRecordRoom(std::uint32_t start) const;
  // Writes a record of `length` message bytes (1 to 3) and the timestamp at `start`, which the
  // caller has found room for, and publishes it.
  void PublishShortRecord(std::uint32_t start, const std::uint8_t* bytes, std::uint32_t length,
                          std::uint32_t timestamp);
  // Publishes at the write position if there is room, else raises the overflow flag.
  void PublishShortRecordOrMarkOverflow(const std::uint8_t* bytes, std::uint32_t length,
                                        std::uint32_t timestamp);
  // Adds a chunk to the message being assembled, which the caller has checked; `timestamp` is
  // when it arrived.
  void AppendSysexChunk(const std::uint8_t* bytes, std::uint32_t length, std::uint32_t timestamp);
  void CompleteSysex();
  void EndSysexAssembly();
  void ClearSysexEndMarks(std::uint32_t from, std::uint32_t to);
  void SetSysexEndMark(std::uint32_t position);
  bool IsSysexEndMark(std::uint32_t position) const;
  void MarkOverflow();
  bool StatusFilterAdmits(std::uint8_t status) const;

  // Queue, consumer side.
  std::uint8_t ByteAt(std::uint32_t position) const;
  // GetNextMessage for a queue that ends at `write`, a write index loaded with acquire.
  void TakeMessage(LingoValue* message, std::uint32_t read, std::uint32_t write);
  std::uint32_t ReadBytes(std::uint32_t position, std::uint8_t* bytes, std::uint32_t count) const;
  std::uint32_t DecodeRecord(std::uint32_t position, std::uint32_t end, LingoValue* message,
                             bool* recognised);
  // Each appends #type and the message's properties; false when the bytes form no message.
  bool AppendChannelMessage(std::uint8_t status, const std::uint8_t* data, LingoValue* message);
  bool AppendChannelModeMessage(std::uint8_t controller, std::uint8_t value, LingoValue* message);
  bool AppendSystemMessage(std::uint8_t status, const std::uint8_t* data, LingoValue* message);
  void AppendType(LingoValue* message, const LingoValue& type);
  std::uint32_t DecodeSysex(std::uint32_t position, std::uint32_t end, LingoValue* message);

  // Sending.
  // Reads the integer at a one-based position: 11 when it is missing, 10 when it is no integer.
  std::int32_t ReadIntegerProperty(const LingoValue* message, std::int32_t position,
                                   std::int32_t* number);
  std::int32_t Get14BitProperty(const LingoValue* message, std::int32_t position,
                                std::int32_t offset, std::uint8_t* low, std::uint8_t* high);
  std::int32_t UnpackChannel(const LingoValue* message, std::uint8_t* status);
  std::int32_t UnpackChannelData1(const LingoValue* message, std::uint8_t* status,
                                  std::uint8_t* data1);
  std::int32_t UnpackChannelData1Data2(const LingoValue* message, std::uint8_t* status,
                                       std::uint8_t* data1, std::uint8_t* data2);
  std::int32_t UnpackSysex(const LingoValue* message);
  std::int32_t SendByRule(const SendRule& rule, const LingoValue* message);

  // Symbol table: each group holds its handles, then the symbol values of the same names.
  LingoSymbol typeSymbol_;
  LingoValue typeValue_;

  LingoSymbol noteOnSymbol_, channelSymbol_, numberSymbol_, velocitySymbol_;
  LingoValue noteOnValue_, channelValue_, numberValue_, velocityValue_;

  LingoSymbol noteOffSymbol_;
  LingoValue noteOffValue_;

  LingoSymbol polyKeyPressureSymbol_, pressureSymbol_;
  LingoValue polyKeyPressureValue_, pressureValue_;

  LingoSymbol controlChangeSymbol_, valueSymbol_;
  LingoValue controlChangeValue_, valueValue_;

  LingoSymbol programChangeSymbol_;
  LingoValue programChangeValue_;

  LingoSymbol channelPressureSymbol_;
  LingoValue channelPressureValue_;

  LingoSymbol pitchBendSymbol_, amountSymbol_;
  LingoValue pitchBendValue_, amountValue_;

  LingoSymbol localControlOffSymbol_;
  LingoValue localControlOffValue_;

  LingoSymbol localControlOnSymbol_;
  LingoValue localControlOnValue_;

  LingoSymbol allNotesOffSymbol_;
  LingoValue allNotesOffValue_;

  LingoSymbol omniModeOffSymbol_;
  LingoValue omniModeOffValue_;

  LingoSymbol omniModeOnSymbol_;
  LingoValue omniModeOnValue_;

  LingoSymbol monoModeOnSymbol_, numChannelsSymbol_;
  LingoValue monoModeOnValue_, numChannelsValue_;

  LingoSymbol polyModeOnSymbol_;
  LingoValue polyModeOnValue_;

  LingoSymbol clockSymbol_;
  LingoValue clockValue_;

  LingoSymbol startSymbol_;
  LingoValue startValue_;

  LingoSymbol stopSymbol_;
  LingoValue stopValue_;

  LingoSymbol continueSymbol_;
  LingoValue continueValue_;

  LingoSymbol activeSensingSymbol_;
  LingoValue activeSensingValue_;

  LingoSymbol systemResetSymbol_;
  LingoValue systemResetValue_;

  LingoSymbol mtcQuarterFrameSymbol_, subFrameSymbol_;
  LingoValue mtcQuarterFrameValue_, subFrameValue_;

  LingoSymbol songPositionPointerSymbol_, positionSymbol_;
  LingoValue songPositionPointerValue_, positionValue_;

  LingoSymbol songSelectSymbol_;
  LingoValue songSelectValue_;

  LingoSymbol tuneRequestSymbol_;
  LingoValue tuneRequestValue_;

  LingoSymbol systemExclusiveSymbol_, manufacturerIdSymbol_, dataSymbol_;
  LingoValue systemExclusiveValue_, manufacturerIdValue_, dataValue_;

  LingoSymbol timestampSymbol_;
  LingoValue timestampValue_;

  LingoSymbol codeSymbol_, textSymbol_;
  LingoValue codeValue_, textValue_;

  // Filter classes: handles only.
  LingoSymbol noneSymbol_, allSymbol_, noteSymbol_, voiceSymbol_, modeSymbol_, realTimeSymbol_,
      commonSymbol_;

  std::int32_t acquiredSymbolValueCount_;

  // The input queue is a single-producer single-consumer byte ring shared, without a lock, by the
  // MIDI receive thread (producer) and the host thread (consumer). Memory orders: the producer
  // writes a record's bytes, then stores inputWriteIndex_ with release; the consumer loads it
  // with acquire, so every byte it covers is visible before it is read. The consumer stores
  // inputReadIndex_ with release only after it has read a record, and the producer's room test
  // loads it with acquire, so no byte is overwritten while it is still being read. Each side
  // loads its own index relaxed, since only it stores it. inputOverflowed_ carries no data, so it
  // is set and exchanged relaxed; the exchange alone guarantees that no overflow is lost. The
  // filter bytes are independent switches judged at the instant they are read: relaxed.
  std::uint8_t* inputQueue_;
  std::uint32_t inputQueueSize_;
  std::atomic<std::uint32_t> inputReadIndex_;
  std::atomic<std::uint32_t> inputWriteIndex_;
  std::uint32_t sysexWriteIndex_;
  std::uint32_t sysexTimestamp_;
  std::uint32_t sysexLastChunkTime_;
  bool sysexInProgress_;
  std::atomic<std::uint8_t> inputOverflowed_;
  std::atomic<std::uint8_t> statusFilter_[kFilterBytes];
  std::atomic<std::uint8_t> modeFilter_[kFilterBytes];

  // One bit per ring byte, in the queue's block behind the ring: set where a system-exclusive
  // record's final 0xF7 lies, so that the reader knows the record's extent whatever its bytes.
  // Written by the producer before the release that publishes the record; accessed as atomics
  // because one mark byte covers ring bytes of both sides.
  std::uint8_t* sysexEndMarks_;
  // Short messages that arrived while a system-exclusive message was being assembled, waiting
  // to be published behind it. Producer only.
  HeldMessage heldMessages_[kHeldMessageCapacity];
  std::uint32_t heldMessageCount_;
};
