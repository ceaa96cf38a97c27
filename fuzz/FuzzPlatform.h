// A TonvikBase with no transport: input counts as open, sends succeed, and the receive path is
// in reach, so a fuzzer can drive the queue and the conversions directly.
#pragma once

#include <cstdint>

#include "TonvikBase.h"

class FuzzPlatform final : public TonvikBase {
 public:
  using TonvikBase::AllocateInputQueue;
  using TonvikBase::ReceiveShortMessage;
  using TonvikBase::ReceiveSysexContinuation;
  using TonvikBase::ReceiveSysexStart;
  using TonvikBase::TonvikBase;

  std::int32_t Init() override { return kErrNone; }
  std::int32_t GetTime() override { return 0; }
  void ResetTimer() override {}
  void GetInputPorts(LingoValue*) override {}
  std::int32_t OpenInput(std::int32_t, std::int32_t bufSize) override {
    const std::int32_t code = AllocateInputQueue(static_cast<std::uint32_t>(bufSize));
    inputOpen_ = code == kErrNone;
    return code;
  }
  std::int32_t CloseInput() override {
    inputOpen_ = false;
    return kErrNone;
  }
  void GetOutputPorts(LingoValue*) override {}
  std::int32_t OpenOutput(std::int32_t) override {
    outputOpen_ = true;
    return kErrNone;
  }
  std::int32_t CloseOutput() override {
    outputOpen_ = false;
    return kErrNone;
  }
  std::int32_t SendShortMessage(std::uint8_t, std::uint8_t, std::uint8_t, std::int32_t) override {
    return kErrNone;
  }
  std::int32_t SendSysex(std::uint8_t, const LingoValue*, std::uint32_t) override {
    return kErrNone;
  }
};
