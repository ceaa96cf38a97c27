// Baseline figures of the input queue: the receive path (short messages and system-exclusive
// bytes per second) and the script's drain into Lingo lists (messages per second).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "TonvikBase.h"
#include "ValueStore.h"

namespace {

// Just enough platform to reach the receive path and the readers.
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
  std::int32_t OpenOutput(std::int32_t) override { return kErrNone; }
  std::int32_t CloseOutput() override { return kErrNone; }
  std::int32_t SendShortMessage(std::uint8_t, std::uint8_t, std::uint8_t, std::int32_t) override {
    return kErrNone;
  }
  std::int32_t SendSysex(std::uint8_t, const LingoValue*, std::uint32_t) override {
    return kErrNone;
  }

  using TonvikBase::ReceiveShortMessage;
  using TonvikBase::ReceiveSysexContinuation;
  using TonvikBase::ReceiveSysexStart;
};

constexpr std::int32_t kRingBytes = 1 << 20;
// Messages received between two flushes; far fewer than the ring holds, so none overflows.
constexpr int kBatch = 4096;

void BM_ReceiveShortMessage(benchmark::State& state) {
  director::ValueStore store;
  BenchPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  std::uint32_t time = 0;
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) {
      platform.ReceiveShortMessage(0x90, static_cast<std::uint8_t>(i & 0x7F), 100, ++time);
    }
    platform.FlushInput();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_ReceiveShortMessage);

// A dump cut into chunks of the given size, as an input port hands it over.
void BM_ReceiveSysex(benchmark::State& state) {
  director::ValueStore store;
  BenchPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  const auto chunk = static_cast<std::uint32_t>(state.range(0));
  constexpr std::uint32_t kDumpBytes = 64 * 1024;
  std::vector<std::uint8_t> dump(kDumpBytes, 0x55);
  dump.front() = 0xF0;
  dump.back() = 0xF7;
  for (auto _ : state) {
    platform.ReceiveSysexStart(dump.data(), chunk, 0);
    for (std::uint32_t at = chunk; at < kDumpBytes; at += chunk) {
      platform.ReceiveSysexContinuation(dump.data() + at, std::min(chunk, kDumpBytes - at));
    }
    platform.FlushInput();
  }
  state.SetBytesProcessed(state.iterations() * kDumpBytes);
}
BENCHMARK(BM_ReceiveSysex)->Arg(256)->Arg(4096);

void BM_GetPendingMessages(benchmark::State& state) {
  director::ValueStore store;
  BenchPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    for (int i = 0; i < count; ++i) {
      platform.ReceiveShortMessage(0x90, static_cast<std::uint8_t>(i & 0x7F), 100, i);
    }
    LingoValue messages = store.makeLinearList();
    state.ResumeTiming();
    platform.GetPendingMessages(&messages);
    state.PauseTiming();
    store.release(messages);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_GetPendingMessages)->Arg(146)->Arg(4096);

}  // namespace

BENCHMARK_MAIN();
