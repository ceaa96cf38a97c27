// End to end on the virtual MIDI system: SendMessage on the output, through the loopback entity
// and the receive thread, to GetNextMessage of a consumer that polls as fast as it can.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <vector>

#include "MacOsxTonvik.h"
#include "MidiSystemControl.h"
#include "RoundTrip.h"
#include "ValueStore.h"

namespace {

using Clock = std::chrono::steady_clock;

void BM_Loopback_Latency(benchmark::State& state) {
  director::ValueStore store;
  std::vector<double> micros;
  {
    MacOsxTonvik instance(store.valueInterface(), store.listInterface(), store.allocator());
    // The default setup's first source and destination are the two ends of one loopback.
    if (instance.Init() != 0 || instance.OpenInput(0, 0) != 0 || instance.OpenOutput(0) != 0) {
      state.SkipWithError("no loopback port");
      return;
    }
    LingoValue message = bench::noteOnMessage(store);
    HostListInterface* lists = store.listInterface();
    HostValueInterface* values = store.valueInterface();
    for (auto _ : state) {
      const Clock::time_point sent = Clock::now();
      benchmark::DoNotOptimize(instance.SendMessage(&message));
      for (;;) {
        LingoValue received;
        lists->NewPropertyList(&received);
        instance.GetNextMessage(&received);
        const bool arrived = lists->ListItemCount(&received) > 0;
        values->ReleaseValue(&received);
        if (arrived) break;
      }
      const double elapsed = std::chrono::duration<double>(Clock::now() - sent).count();
      state.SetIterationTime(elapsed);
      micros.push_back(elapsed * 1e6);
    }
    store.release(message);
    midisystem::waitUntilDelivered();
  }
  if (micros.empty()) return;
  state.counters["p50_us"] = bench::percentile(micros, 0.50);
  state.counters["p99_us"] = bench::percentile(micros, 0.99);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Loopback_Latency)->UseManualTime()->Iterations(20000);

}  // namespace
