// The cost of a bigger ring: receive and drain per message for rings of 1 KB to 16 MB. The
// positions march on from batch to batch, so over a run every byte of the ring is touched, as a
// long-running instance touches it.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "BenchSupport.h"

namespace {

// Fits the smallest ring (146 note records), so every size sees the same work per batch.
constexpr int kBatch = 128;

void receiveBatch(RecordingPlatform& platform, std::uint32_t& time) {
  for (int i = 0; i < kBatch; ++i) {
    platform.ReceiveShortMessage(static_cast<std::uint8_t>(0x90 | (i & 0x0F)),
                                 static_cast<std::uint8_t>(i & 0x7F), 100, ++time);
  }
}

void BM_Growth_Receive(benchmark::State& state) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenInput(0, static_cast<std::int32_t>(state.range(0)));
  std::uint32_t time = 0;
  for (auto _ : state) {
    receiveBatch(platform, time);
    platform.FlushInput();
  }
  if (platform.InputOverflowed()) state.SkipWithError("the ring overflowed");
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Growth_Receive)->RangeMultiplier(16)->Range(1 << 10, 16 << 20);

void BM_Growth_Drain(benchmark::State& state) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenInput(0, static_cast<std::int32_t>(state.range(0)));
  std::uint32_t time = 0;
  bench::timePendingDrains(state, store, platform, [&] { receiveBatch(platform, time); });
  if (platform.InputOverflowed()) state.SkipWithError("the ring overflowed");
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Growth_Drain)->RangeMultiplier(16)->Range(1 << 10, 16 << 20);

}  // namespace
