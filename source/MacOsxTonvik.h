// The CoreMIDI instance of the Xtra: the millisecond timer, the port lists, one input and one
// output port, and the system-exclusive transfers in flight. It is also the consumer and the time
// source of its own input port, so every received message is stamped with this timer.
#pragma once

#include <atomic>
#include <cstdint>

#include "DeviceList.h"
#include "MidiConsumer.h"
#include "MidiServices.h"
#include "OSXMidiIn.h"
#include "OSXMidiOut.h"
#include "TimeSource.h"
#include "TonvikBase.h"

struct SysexSendRecord;

// Platform error codes.
enum MacOsxTonvikError : std::int32_t {
  kErrNoMidiClient = kErrFirstPlatformCode,
};

class MacOsxTonvik : public TonvikBase, public MidiConsumer, public TimeSource {
 public:
  MacOsxTonvik(HostValueInterface* valueInterface, HostListInterface* listInterface,
               HostAllocator* allocator);
  ~MacOsxTonvik() override;

  std::int32_t Init() override;
  std::int32_t GetTime() override;
  void ResetTimer() override;
  void GetInputPorts(LingoValue* list) override;
  std::int32_t OpenInput(std::int32_t port, std::int32_t bufSize) override;
  std::int32_t CloseInput() override;
  void GetOutputPorts(LingoValue* list) override;
  std::int32_t OpenOutput(std::int32_t port) override;
  std::int32_t CloseOutput() override;
  HostStatus MakeErrorResult(std::int32_t code, LingoValue* result) override;
  std::int32_t SendShortMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                                std::int32_t length) override;
  std::int32_t SendSysex(std::uint8_t manufacturerId, const LingoValue* data,
                         std::uint32_t count) override;

  // MidiConsumer and TimeSource: called by the input port on the MIDI receive thread.
  void processShortMessage(double timeSeconds, std::uint8_t status, std::uint8_t data1,
                           std::uint8_t data2) override;
  void processSysexStart(double timeSeconds, const std::uint8_t* bytes,
                         std::uint32_t length) override;
  void processSysexContinuation(const std::uint8_t* bytes, std::uint32_t length) override;
  double currentTimeSeconds() override;

  // Timer milliseconds for an elapsed time; past 2^31 - 1 ms it wraps like the queue's unsigned
  // 32-bit timestamps.
  static std::int32_t elapsedMilliseconds(std::uint64_t elapsedNanos);

 private:
  static std::uint64_t hostNanosNow();

  void appendNames(const DeviceList& devices, LingoValue* list);
  SysexSendRecord* allocateSysexRecord(std::uint32_t length);
  void releaseSysexRecord(SysexSendRecord* record);
  void reclaimSysexRecords();

  bool isInitialised_;
  // Written by ResetTimer on the host thread and read by GetTime on the receive thread too.
  // Release and acquire order the clock read that made a base before any clock read of a
  // GetTime that sees it, so no reading is older than its base.
  std::atomic<std::uint64_t> timerBaseNanos_;
  SysexSendRecord* sysexRecords_;
  MIDIClientRef midiClient_;
  DeviceList inputDevices_;
  DeviceList outputDevices_;
  OSXMidiIn midiIn_;
  OSXMidiOut midiOut_;
};
