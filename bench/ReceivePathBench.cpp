// The receive path into the ring (room test, filters, timestamp, publication) beside the same
// bytes pushed through boost's single-producer single-consumer queue, the bare lock-free ring a
// user would otherwise reach for. scripts/bench divides the two.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <vector>

#include "BenchSupport.h"

#ifdef TONVIK_BENCH_HAVE_BOOST
#include <boost/lockfree/spsc_queue.hpp>
#endif

namespace {

constexpr std::int32_t kRingBytes = 1 << 20;
// Messages between two flushes: far fewer than the ring holds, so none overflows.
constexpr int kBatch = 4096;
constexpr std::uint32_t kDumpBytes = 64 * 1024;

// Note-ons over all channels and keys, so the filter lookup does not always hit one byte.
std::uint8_t statusOf(int i) {
  return static_cast<std::uint8_t>(0x90 | (i & 0x0F));
}
std::uint8_t keyOf(int i) {
  return static_cast<std::uint8_t>((i >> 4) & 0x7F);
}

void BM_Receive_Short(benchmark::State& state) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  // One channel closed, so that the filters drop something and the test is not always true.
  LingoValue channel = store.makeInteger(16);
  LingoValue none = store.makeSymbol("none");
  benchmark::DoNotOptimize(platform.SetChannelFilter(&none, &channel));
  std::uint32_t time = 0;
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i)
      platform.ReceiveShortMessage(statusOf(i), keyOf(i), 100, ++time);
    platform.FlushInput();
  }
  store.release(channel);
  store.release(none);
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Receive_Short);

void BM_Receive_Sysex(benchmark::State& state) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  const std::vector<std::uint8_t> dump = bench::sysexDump(kDumpBytes);
  const auto chunk = static_cast<std::uint32_t>(state.range(0));
  for (auto _ : state) {
    bench::receiveDump(platform, dump, chunk, 0);
    platform.FlushInput();
  }
  state.SetBytesProcessed(state.iterations() * kDumpBytes);
}
BENCHMARK(BM_Receive_Sysex)->Arg(256)->Arg(4096);

#ifdef TONVIK_BENCH_HAVE_BOOST
using BareRing = boost::lockfree::spsc_queue<std::uint8_t>;

// The same 7-byte record per message, pushed whole; the consumer's reset plays FlushInput.
void BM_BareRing_Short(benchmark::State& state) {
  BareRing ring(kRingBytes);
  std::uint32_t time = 0;
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) {
      ++time;
      const std::array<std::uint8_t, 7> record{statusOf(i),
                                               keyOf(i),
                                               100,
                                               static_cast<std::uint8_t>(time >> 24),
                                               static_cast<std::uint8_t>(time >> 16),
                                               static_cast<std::uint8_t>(time >> 8),
                                               static_cast<std::uint8_t>(time)};
      benchmark::DoNotOptimize(ring.push(record.data(), record.size()));
    }
    ring.reset();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_BareRing_Short);

void BM_BareRing_Sysex(benchmark::State& state) {
  BareRing ring(kRingBytes);
  const std::vector<std::uint8_t> dump = bench::sysexDump(kDumpBytes);
  const auto chunk = static_cast<std::uint32_t>(state.range(0));
  for (auto _ : state) {
    for (std::uint32_t at = 0; at < kDumpBytes; at += chunk) {
      const std::uint32_t length = chunk < kDumpBytes - at ? chunk : kDumpBytes - at;
      benchmark::DoNotOptimize(ring.push(dump.data() + at, length));
    }
    ring.reset();
  }
  state.SetBytesProcessed(state.iterations() * kDumpBytes);
}
BENCHMARK(BM_BareRing_Sysex)->Arg(256)->Arg(4096);
#endif

}  // namespace
