#include "MacOsxTonvik.h"

#include <chrono>
#include <cstddef>
#include <new>
#include <thread>
#include <type_traits>

#include "CoreMidiApi.h"
#include "HostTime.h"
#include "MidiBytes.h"
#include "OSXMidiUtils.h"

namespace {

constexpr double kMillisecondsPerNanosecond = 0.000001;
constexpr double kSecondsPerNanosecond = 0.000000001;
constexpr const char* kNoMidiClientText = "Couldn't create Core Midi client";

// 0xF0 and the manufacturer ID before the data, 0xF7 after it.
constexpr std::uint32_t kSysexFramingBytes = 3;
// Short messages go out at host time 0, which CoreMIDI delivers at once.
constexpr double kSendNow = 0.0;

// CloseOutput waits this many times this long for CoreMIDI to hand back abandoned transfers.
constexpr int kCloseOutputWaitSleeps = 1001;
constexpr std::chrono::microseconds kCloseOutputSleep{1000};

}  // namespace

// One block from the host allocator per system-exclusive message in flight: the request first,
// so that the pointer CoreMIDI hands to the completion procedure is the record, then the message
// bytes right behind the header.
struct SysexSendRecord {
  MIDISysexSendRequest request;
  SysexSendRecord* next;
  // Set once by the completion procedure on CoreMIDI's thread, read by the reclaim on the host
  // thread: release pairs with acquire, so CoreMIDI is done with the bytes before they are freed.
  std::atomic<std::uint8_t> done;

  std::uint8_t* bytes() { return reinterpret_cast<std::uint8_t*>(this + 1); }
  bool isDone() const { return done.load(std::memory_order_acquire) != 0; }
};

static_assert(std::is_standard_layout_v<SysexSendRecord>,
              "the request must share its address with the record");
static_assert(offsetof(SysexSendRecord, request) == 0, "the request must come first");

namespace {

void sysexSendCompleted(MIDISysexSendRequest* request) {
  reinterpret_cast<SysexSendRecord*>(request)->done.store(1, std::memory_order_release);
}

}  // namespace

MacOsxTonvik::MacOsxTonvik(HostValueInterface* valueInterface, HostListInterface* listInterface,
                           HostAllocator* allocator)
    : TonvikBase(valueInterface, listInterface, allocator),
      isInitialised_(false),
      timerBaseNanos_(hostNanosNow()),
      sysexRecords_(nullptr),
      midiClient_(0) {}

MacOsxTonvik::~MacOsxTonvik() {
  if (isInitialised_) {
    if (inputOpen_) {
      midiIn_.stop();
      inputOpen_ = false;
    }
    if (outputOpen_) CloseOutput();
    fwReleaseMidiClient(midiClient_);
    midiClient_ = 0;
  }
}

std::int32_t MacOsxTonvik::Init() {
  // The new reference is taken before the old one is given back, so a failure leaves the
  // instance exactly as it was and a repeated Init keeps the references balanced.
  const MIDIClientRef client = fwAcquireMidiClient();
  if (client == 0) return kErrNoMidiClient;
  fwReleaseMidiClient(midiClient_);
  midiClient_ = client;
  inputDevices_.clear();
  fwGetMidiInputDevices(inputDevices_);
  outputDevices_.clear();
  fwGetMidiOutputDevices(outputDevices_);
  isInitialised_ = true;
  return kErrNone;
}

std::uint64_t MacOsxTonvik::hostNanosNow() {
  return AudioConvertHostTimeToNanos(AudioGetCurrentHostTime());
}

std::int32_t MacOsxTonvik::elapsedMilliseconds(std::uint64_t elapsedNanos) {
  const double milliseconds = static_cast<double>(elapsedNanos) * kMillisecondsPerNanosecond;
  // Through the unsigned types the value wraps modulo 2^32 instead of overflowing the result.
  return static_cast<std::int32_t>(
      static_cast<std::uint32_t>(static_cast<std::uint64_t>(milliseconds)));
}

std::int32_t MacOsxTonvik::GetTime() {
  // The base first, then the clock: a base that ResetTimer stores meanwhile is missed, never
  // later than the clock read, so the difference cannot wrap.
  const std::uint64_t base = timerBaseNanos_.load(std::memory_order_acquire);
  return elapsedMilliseconds(hostNanosNow() - base);
}

void MacOsxTonvik::ResetTimer() {
  timerBaseNanos_.store(hostNanosNow(), std::memory_order_release);
}

double MacOsxTonvik::currentTimeSeconds() {
  return static_cast<double>(hostNanosNow()) * kSecondsPerNanosecond;
}

void MacOsxTonvik::processShortMessage(double /*timeSeconds*/, std::uint8_t status,
                                       std::uint8_t data1, std::uint8_t data2) {
  ReceiveShortMessage(status, data1, data2, static_cast<std::uint32_t>(GetTime()));
}

void MacOsxTonvik::processSysexStart(double /*timeSeconds*/, const std::uint8_t* bytes,
                                     std::uint32_t length) {
  ReceiveSysexStart(bytes, length, static_cast<std::uint32_t>(GetTime()));
}

void MacOsxTonvik::processSysexContinuation(const std::uint8_t* bytes, std::uint32_t length) {
  ReceiveSysexContinuation(bytes, length);
}

void MacOsxTonvik::GetInputPorts(LingoValue* list) {
  if (!isInitialised_) return;
  inputDevices_.clear();
  fwGetMidiInputDevices(inputDevices_);
  appendNames(inputDevices_, list);
}

void MacOsxTonvik::GetOutputPorts(LingoValue* list) {
  if (!isInitialised_) return;
  outputDevices_.clear();
  fwGetMidiOutputDevices(outputDevices_);
  appendNames(outputDevices_, list);
}

void MacOsxTonvik::appendNames(const DeviceList& devices, LingoValue* list) {
  for (std::int32_t i = 0; i < devices.size(); ++i) {
    LingoValue name;
    valueInterface_->MakeStringValue(devices.at(i).first.c_str(), &name);
    listInterface_->AppendListItem(list, &name);
    valueInterface_->ReleaseValue(&name);
  }
}

std::int32_t MacOsxTonvik::OpenInput(std::int32_t port, std::int32_t bufSize) {
  if (!isInitialised_) return kErrNotInitialised;
  if (inputOpen_) return kErrInputAlreadyOpen;
  if (port < 0 || port >= inputDevices_.size()) {
    return kErrInvalidPortNumber;
  }
  const std::int32_t allocated = AllocateInputQueue(static_cast<std::uint32_t>(bufSize));
  if (allocated != kErrNone) return allocated;
  midiIn_.setDevice(inputDevices_.at(port));
  if (!midiIn_.start(this, this)) return kErrInternalDriver;
  inputOpen_ = true;
  return kErrNone;
}

std::int32_t MacOsxTonvik::CloseInput() {
  if (!isInitialised_) return kErrNotInitialised;
  if (!inputOpen_) return kErrInputNotOpen;
  midiIn_.stop();
  inputOpen_ = false;
  return kErrNone;
}

std::int32_t MacOsxTonvik::OpenOutput(std::int32_t port) {
  if (!isInitialised_) return kErrNotInitialised;
  if (outputOpen_) return kErrOutputAlreadyOpen;
  if (port < 0 || port >= outputDevices_.size()) {
    return kErrInvalidPortNumber;
  }
  midiOut_.setDevice(outputDevices_.at(port));
  if (!midiOut_.start()) return kErrInternalDriver;
  outputOpen_ = true;
  return kErrNone;
}

std::int32_t MacOsxTonvik::CloseOutput() {
  if (!isInitialised_) return kErrNotInitialised;
  if (!outputOpen_) return kErrOutputNotOpen;
  midiOut_.stop();
  for (SysexSendRecord* record = sysexRecords_; record != nullptr; record = record->next) {
    // CoreMIDI reads the flag on its completion thread; it asks it to abandon the transfer.
    std::atomic_ref<Boolean>(record->request.complete).store(true, std::memory_order_release);
  }
  reclaimSysexRecords();
  for (int sleeps = 0; sysexRecords_ != nullptr && sleeps < kCloseOutputWaitSleeps; ++sleeps) {
    std::this_thread::sleep_for(kCloseOutputSleep);
    reclaimSysexRecords();
  }
  // Whatever CoreMIDI still holds after the wait may yet be written to; it is dropped, not freed.
  sysexRecords_ = nullptr;
  outputOpen_ = false;
  return kErrNone;
}

HostStatus MacOsxTonvik::MakeErrorResult(std::int32_t code, LingoValue* result) {
  if (code != kErrNoMidiClient) return TonvikBase::MakeErrorResult(code, result);
  return MakeErrorResultWithText(code, kNoMidiClientText, result);
}

std::int32_t MacOsxTonvik::SendShortMessage(std::uint8_t status, std::uint8_t data1,
                                            std::uint8_t data2, std::int32_t length) {
  if (!outputOpen_) return kErrOutputNotOpen;
  if (length >= 1 && static_cast<std::uint32_t>(length) <= midi::kLongestShortMessage) {
    // Bytes past the length are sent as 0 so that nothing stale leaves the Xtra.
    midiOut_.sendBytes(kSendNow, static_cast<std::uint8_t>(length), status, length >= 2 ? data1 : 0,
                       length == 3 ? data2 : 0);
  }
  return kErrNone;
}

std::int32_t MacOsxTonvik::SendSysex(std::uint8_t manufacturerId, const LingoValue* data,
                                     std::uint32_t count) {
  reclaimSysexRecords();
  SysexSendRecord* record = allocateSysexRecord(count + kSysexFramingBytes);
  if (record == nullptr) return kErrNotEnoughMemory;
  std::uint8_t* bytes = record->bytes();
  bytes[0] = midi::kSysexStart;
  bytes[1] = manufacturerId;
  for (std::uint32_t i = 1; i <= count; ++i) {
    const std::int32_t error = GetIntegerProperty(data, static_cast<std::int32_t>(i), 0,
                                                  midi::kDataMaximum, &bytes[i + 1]);
    if (error != kErrNone) {
      releaseSysexRecord(record);
      return error;
    }
  }
  bytes[count + 2] = midi::kSysexEnd;
  if (!midiOut_.sendSysexRequest(&record->request)) {
    releaseSysexRecord(record);
    return kErrInternalDriver;
  }
  return kErrNone;
}

SysexSendRecord* MacOsxTonvik::allocateSysexRecord(std::uint32_t length) {
  void* block =
      allocator_->AllocateBlock(static_cast<std::uint32_t>(sizeof(SysexSendRecord)) + length);
  if (block == nullptr) return nullptr;
  auto* record = new (block) SysexSendRecord{};
  record->request.destination = 0;
  record->request.data = record->bytes();
  record->request.bytesToSend = length;
  record->request.complete = false;
  record->request.completionProc = &sysexSendCompleted;
  record->request.completionRefCon = nullptr;
  record->next = sysexRecords_;
  sysexRecords_ = record;
  return record;
}

void MacOsxTonvik::releaseSysexRecord(SysexSendRecord* record) {
  for (SysexSendRecord** link = &sysexRecords_; *link != nullptr; link = &(*link)->next) {
    if (*link == record) {
      *link = record->next;
      allocator_->FreeBlock(record);
      return;
    }
  }
}

void MacOsxTonvik::reclaimSysexRecords() {
  SysexSendRecord** link = &sysexRecords_;
  while (*link != nullptr) {
    SysexSendRecord* record = *link;
    if (record->isDone()) {
      *link = record->next;
      allocator_->FreeBlock(record);
    } else {
      link = &record->next;
    }
  }
}
