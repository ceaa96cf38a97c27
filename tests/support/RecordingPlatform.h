// A TonvikBase without a transport, shared by the unit tests, the fuzz targets and the
// benchmarks: the CoreMIDI instance's open and close answers without ports, a settable clock,
// sends recorded instead of sent, and the receive path within reach.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "MidiBytes.h"
#include "TonvikBase.h"
#include "TonvikBaseInternals.h"
#include "ValueStore.h"

class RecordingPlatform final : public TonvikBase {
 public:
  struct ShortSend {
    std::uint8_t status, data1, data2;
    std::int32_t length;
    bool operator==(const ShortSend&) const = default;
  };

  explicit RecordingPlatform(director::ValueStore& store)
      : TonvikBase(store.valueInterface(), store.listInterface(), store.allocator()) {}

  std::int32_t Init() override { return kErrNone; }
  std::int32_t GetTime() override { return time; }
  void ResetTimer() override { time = 0; }
  void GetInputPorts(LingoValue*) override {}
  std::int32_t OpenInput(std::int32_t, std::int32_t bufSize) override {
    if (inputOpen_) return kErrInputAlreadyOpen;
    const std::int32_t result = AllocateInputQueue(static_cast<std::uint32_t>(bufSize));
    inputOpen_ = result == kErrNone;
    return result;
  }
  std::int32_t CloseInput() override {
    if (!inputOpen_) return kErrInputNotOpen;
    inputOpen_ = false;
    return kErrNone;
  }
  void GetOutputPorts(LingoValue*) override {}
  std::int32_t OpenOutput(std::int32_t) override {
    if (outputOpen_) return kErrOutputAlreadyOpen;
    outputOpen_ = true;
    return kErrNone;
  }
  std::int32_t CloseOutput() override {
    if (!outputOpen_) return kErrOutputNotOpen;
    outputOpen_ = false;
    return kErrNone;
  }
  std::int32_t SendShortMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                                std::int32_t length) override {
    if (!outputOpen_) return kErrOutputNotOpen;
    shortSends.push_back({status, data1, data2, length});
    return kErrNone;
  }
  // Reads and checks every data item, as the CoreMIDI instance does before it sends.
  std::int32_t SendSysex(std::uint8_t manufacturerId, const LingoValue* data,
                         std::uint32_t count) override {
    if (!outputOpen_) return kErrOutputNotOpen;
    std::vector<std::uint8_t> bytes{midi::kSysexStart, manufacturerId};
    for (std::uint32_t i = 1; i <= count; ++i) {
      std::uint8_t byte = 0;
      const std::int32_t result =
          GetIntegerProperty(data, static_cast<std::int32_t>(i), 0, midi::kDataMaximum, &byte);
      if (result != kErrNone) return result;
      bytes.push_back(byte);
    }
    bytes.push_back(midi::kSysexEnd);
    sysexSends.push_back(std::move(bytes));
    return kErrNone;
  }

  using TonvikBase::AllocateInputQueue;
  using TonvikBase::ReceiveShortMessage;
  using TonvikBase::ReceiveSysexContinuation;
  using TonvikBase::ReceiveSysexStart;
  // The receive path as the input port drives it, stamped with the clock.
  void receive(const std::vector<std::uint8_t>& chunk) {
    ReceiveSysexStart(chunk.data(), static_cast<std::uint32_t>(chunk.size()),
                      static_cast<std::uint32_t>(time));
  }
  void receiveMore(const std::vector<std::uint8_t>& chunk) {
    ReceiveSysexContinuation(chunk.data(), static_cast<std::uint32_t>(chunk.size()));
  }
  void receiveShort(std::uint8_t status, std::uint8_t data1 = 0, std::uint8_t data2 = 0) {
    ReceiveShortMessage(status, data1, data2, static_cast<std::uint32_t>(time));
  }

  std::int32_t time = 0;
  std::vector<ShortSend> shortSends;
  std::vector<std::vector<std::uint8_t>> sysexSends;
};
