// What the queue benchmarks share: a system-exclusive dump, how an input port hands it over, and
// the timing of one drain at a time. They drive the tests' RecordingPlatform.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "RecordingPlatform.h"
#include "ValueStore.h"

namespace bench {

// A system-exclusive dump of `bytes` bytes in all, framing included, with data bytes below 0x80.
inline std::vector<std::uint8_t> sysexDump(std::uint32_t bytes) {
  std::vector<std::uint8_t> dump(bytes);
  for (std::uint32_t i = 0; i < bytes; ++i) dump[i] = static_cast<std::uint8_t>(i & 0x7F);
  dump.front() = 0xF0;
  dump.back() = 0xF7;
  return dump;
}

// Received at one go, as an input port hands over a dump cut into chunks of `chunk` bytes.
inline void receiveDump(RecordingPlatform& platform, const std::vector<std::uint8_t>& dump,
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
                       RecordingPlatform& platform, Refill refill) {
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
