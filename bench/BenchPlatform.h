// The instance as the benchmarks drive it: input and output open without ports, the receive path
// within reach, and sends that read every byte the way the real platform does but go nowhere.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "TonvikBase.h"
#include "ValueStore.h"

namespace bench {

class BenchPlatform : public TonvikBase {
 public:
  explicit BenchPlatform(director::ValueStore& store)
      : TonvikBase(store.valueInterface(), store.listInterface(), store.allocator()) {}

  std::int32_t Init() override { return kErrNone; }
  std::int32_t GetTime() override { return 0; }
  void ResetTimer() override {}
  void GetInputPorts(LingoValue*) override {}
  std::int32_t OpenInput(std::int32_t, std::int32_t bufSize) override {
    const std::int32_t result = AllocateInputQueue(static_cast<std::uint32_t>(bufSize));
    inputOpen_ = result == kErrNone;
    return result;
  }
  std::int32_t CloseInput() override { return kErrNone; }
  void GetOutputPorts(LingoValue*) override {}
  std::int32_t OpenOutput(std::int32_t) override {
    outputOpen_ = true;
    return kErrNone;
  }
  std::int32_t CloseOutput() override { return kErrNone; }
  std::int32_t SendShortMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                                std::int32_t length) override {
    sink_ += status + data1 + data2 + length;
    return kErrNone;
  }
  // Reads each data item with the range check, as the CoreMIDI platform does before it sends.
  std::int32_t SendSysex(std::uint8_t manufacturerId, const LingoValue* data,
                         std::uint32_t count) override {
    sink_ += manufacturerId;
    for (std::uint32_t i = 1; i <= count; ++i) {
      std::uint8_t byte = 0;
      const std::int32_t result =
          GetIntegerProperty(data, static_cast<std::int32_t>(i), 0, 127, &byte);
      if (result != kErrNone) return result;
      sink_ += byte;
    }
    return kErrNone;
  }

  using TonvikBase::ReceiveShortMessage;
  using TonvikBase::ReceiveSysexContinuation;
  using TonvikBase::ReceiveSysexStart;

  std::uint64_t sink() const { return sink_; }

 private:
  std::uint64_t sink_ = 0;
};

// A system-exclusive dump of `bytes` bytes in all, framing included, with data bytes below 0x80.
inline std::vector<std::uint8_t> sysexDump(std::uint32_t bytes) {
  std::vector<std::uint8_t> dump(bytes);
  for (std::uint32_t i = 0; i < bytes; ++i) dump[i] = static_cast<std::uint8_t>(i & 0x7F);
  dump.front() = 0xF0;
  dump.back() = 0xF7;
  return dump;
}

// Received at one go, as an input port hands over a dump cut into chunks of `chunk` bytes.
inline void receiveDump(BenchPlatform& platform, const std::vector<std::uint8_t>& dump,
                        std::uint32_t chunk, std::uint32_t timestamp) {
  const auto total = static_cast<std::uint32_t>(dump.size());
  platform.ReceiveSysexStart(dump.data(), chunk < total ? chunk : total, timestamp);
  for (std::uint32_t at = chunk; at < total; at += chunk) {
    platform.ReceiveSysexContinuation(dump.data() + at, chunk < total - at ? chunk : total - at);
  }
}

// Times GetPendingMessages alone: each iteration refills the ring with `refill()` and releases the
// list afterwards, both off the clock.
template <typename Refill>
void timePendingDrains(benchmark::State& state, director::ValueStore& store,
                       BenchPlatform& platform, Refill refill) {
  for (auto _ : state) {
    state.PauseTiming();
    refill();
    LingoValue messages = store.makeLinearList();
    state.ResumeTiming();
    platform.GetPendingMessages(&messages);
    state.PauseTiming();
    store.release(messages);
    state.ResumeTiming();
  }
}

}  // namespace bench
