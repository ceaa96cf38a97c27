// The script's side of the queue: records decoded into Lingo lists by GetNextMessage and
// GetPendingMessages, beside the host value operations alone that the same lists cost, so that
// scripts/bench can tell how much of the drain is ours and how much the host's; and single drains
// while a sender floods the receive path.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "RoundTrip.h"

namespace {

constexpr std::int32_t kRingBytes = 16 << 20;
// A burst that a script should be able to drain within one 60 Hz frame.
constexpr int kBurst = 10000;
constexpr std::uint32_t kSysexBytes = 1024;
constexpr int kSysexBurst = 100;

void fillShort(RecordingPlatform& platform, int count) {
  for (int i = 0; i < count; ++i) {
    platform.ReceiveShortMessage(static_cast<std::uint8_t>(0x90 | (i & 0x0F)),
                                 static_cast<std::uint8_t>(i & 0x7F), 100,
                                 static_cast<std::uint32_t>(i));
  }
}

void fillSysex(RecordingPlatform& platform, int count) {
  const std::vector<std::uint8_t> dump = bench::sysexDump(kSysexBytes);
  for (int i = 0; i < count; ++i) bench::receiveDump(platform, dump, kSysexBytes, 0);
}

// One call per message, each into a fresh property list, as the dispatcher makes them.
void getNextMessages(benchmark::State& state, void (*fill)(RecordingPlatform&, int), int count) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  HostListInterface* lists = store.listInterface();
  HostValueInterface* values = store.valueInterface();
  for (auto _ : state) {
    state.PauseTiming();
    fill(platform, count);
    state.ResumeTiming();
    for (int i = 0; i < count; ++i) {
      LingoValue message;
      lists->NewPropertyList(&message);
      platform.GetNextMessage(&message);
      values->ReleaseValue(&message);
    }
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void getPendingMessages(benchmark::State& state, void (*fill)(RecordingPlatform&, int), int count) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  bench::timePendingDrains(state, store, platform, [&] { fill(platform, count); });
  state.SetItemsProcessed(state.iterations() * count);
}

void BM_GetNextMessage_Short(benchmark::State& state) {
  getNextMessages(state, fillShort, kBurst);
}
BENCHMARK(BM_GetNextMessage_Short)->Unit(benchmark::kMillisecond);

void BM_GetPendingMessages_Short(benchmark::State& state) {
  getPendingMessages(state, fillShort, kBurst);
}
BENCHMARK(BM_GetPendingMessages_Short)->Unit(benchmark::kMillisecond);

void BM_GetNextMessage_Sysex1K(benchmark::State& state) {
  getNextMessages(state, fillSysex, kSysexBurst);
}
BENCHMARK(BM_GetNextMessage_Sysex1K)->Unit(benchmark::kMillisecond);

void BM_GetPendingMessages_Sysex1K(benchmark::State& state) {
  getPendingMessages(state, fillSysex, kSysexBurst);
}
BENCHMARK(BM_GetPendingMessages_Sysex1K)->Unit(benchmark::kMillisecond);

// A sender thread feeds the receive path 100 000 note-ons a second, in batches of 1 ms, while the
// host thread drains the queue once per 60 Hz frame, as a script does: how long single
// GetPendingMessages calls take and how many messages each returns. Wall time: the sender runs
// on the other core.
void BM_GetPendingMessages_Flood(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  constexpr double kMessagesPerSecond = 100000;
  constexpr auto kBatch = std::chrono::milliseconds(1);
  constexpr auto kFrame = std::chrono::microseconds(16667);
  constexpr auto kRun = std::chrono::seconds(2);
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenInput(0, kRingBytes);
  std::vector<double> callMicros;
  std::vector<double> perCall;
  std::uint64_t sent = 0;
  std::int64_t drained = 0;
  for (auto _ : state) {
    std::atomic<bool> stop{false};
    std::thread sender([&] {
      const Clock::time_point start = Clock::now();
      for (Clock::time_point next = start + kBatch; !stop.load(std::memory_order_relaxed);
           next += kBatch) {
        std::this_thread::sleep_until(next);
        const auto due = static_cast<std::uint64_t>(
            std::chrono::duration<double>(Clock::now() - start).count() * kMessagesPerSecond);
        for (; sent < due; ++sent) {
          platform.ReceiveShortMessage(static_cast<std::uint8_t>(0x90 | (sent & 0x0F)),
                                       static_cast<std::uint8_t>(sent & 0x7F), 100,
                                       static_cast<std::uint32_t>(sent));
        }
      }
    });
    double drainSeconds = 0;
    const Clock::time_point end = Clock::now() + kRun;
    for (Clock::time_point frame = Clock::now() + kFrame; frame < end; frame += kFrame) {
      std::this_thread::sleep_until(frame);
      LingoValue messages = store.makeLinearList();
      const Clock::time_point begin = Clock::now();
      platform.GetPendingMessages(&messages);
      const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
      drainSeconds += seconds;
      callMicros.push_back(seconds * 1e6);
      perCall.push_back(store.count(messages));
      drained += store.count(messages);
      store.release(messages);
    }
    stop.store(true, std::memory_order_relaxed);
    sender.join();
    state.SetIterationTime(drainSeconds);
  }
  state.counters["max_call_us"] = *std::max_element(callMicros.begin(), callMicros.end());
  state.counters["p50_call_us"] = bench::percentile(callMicros, 0.50);
  state.counters["max_messages"] = *std::max_element(perCall.begin(), perCall.end());
  state.counters["p50_messages"] = bench::percentile(perCall, 0.50);
  state.counters["sent_per_second"] = static_cast<double>(sent) /
                                      std::chrono::duration<double>(kRun).count() /
                                      static_cast<double>(state.iterations());
  state.counters["overflowed"] = platform.InputOverflowed() ? 1 : 0;
  state.SetItemsProcessed(drained);
  platform.FlushInput();
}
BENCHMARK(BM_GetPendingMessages_Flood)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The host operations that GetPendingMessages makes for a note-on, and nothing else: the floor
// that any decoder into these lists pays.
class HostOnly {
 public:
  explicit HostOnly(director::ValueStore& store)
      : values_(store.valueInterface()), lists_(store.listInterface()) {
    for (const char* name : {"type", "noteOn", "channel", "number", "velocity", "timestamp",
                             "systemExclusive", "manufacturerID", "data"}) {
      symbols_.push_back(store.makeSymbol(name));
    }
  }
  void release(director::ValueStore& store) {
    for (LingoValue& symbol : symbols_) store.release(symbol);
  }

  void noteOn(LingoValue* messages, std::int32_t key, std::int32_t time) {
    LingoValue message;
    lists_->NewPropertyList(&message);
    lists_->AppendProperty(&message, &symbols_[kType], &symbols_[kNoteOn]);
    integer(&message, kChannel, 1);
    integer(&message, kNumber, key);
    integer(&message, kVelocity, 100);
    finish(messages, &message, time);
  }
  void sysex(LingoValue* messages, std::uint32_t dataBytes, std::int32_t time) {
    LingoValue message;
    lists_->NewPropertyList(&message);
    lists_->AppendProperty(&message, &symbols_[kType], &symbols_[kSysex]);
    integer(&message, kManufacturer, 0x7D);
    LingoValue data;
    lists_->NewLinearList(&data);
    for (std::uint32_t i = 0; i < dataBytes; ++i) {
      LingoValue item;
      values_->MakeIntegerValue(static_cast<std::int32_t>(i & 0x7F), &item);
      lists_->AppendListItem(&data, &item);
      values_->ReleaseValue(&item);
    }
    lists_->AppendProperty(&message, &symbols_[kData], &data);
    values_->ReleaseValue(&data);
    finish(messages, &message, time);
  }

 private:
  enum { kType, kNoteOn, kChannel, kNumber, kVelocity, kTimestamp, kSysex, kManufacturer, kData };

  void integer(LingoValue* message, int key, std::int32_t number) {
    LingoValue value;
    values_->MakeIntegerValue(number, &value);
    lists_->AppendProperty(message, &symbols_[key], &value);
    values_->ReleaseValue(&value);
  }
  void finish(LingoValue* messages, LingoValue* message, std::int32_t time) {
    integer(message, kTimestamp, time);
    if (lists_->ListItemCount(message) > 0) lists_->AppendListItem(messages, message);
    values_->ReleaseValue(message);
  }

  HostValueInterface* values_;
  HostListInterface* lists_;
  std::vector<LingoValue> symbols_;
};

void hostOnly(benchmark::State& state, int count, void (*build)(HostOnly&, LingoValue*, int)) {
  director::ValueStore store;
  HostOnly host(store);
  for (auto _ : state) {
    state.PauseTiming();
    LingoValue messages = store.makeLinearList();
    state.ResumeTiming();
    for (int i = 0; i < count; ++i) build(host, &messages, i);
    state.PauseTiming();
    store.release(messages);
    state.ResumeTiming();
  }
  host.release(store);
  state.SetItemsProcessed(state.iterations() * count);
}

void BM_HostOnly_Short(benchmark::State& state) {
  hostOnly(state, kBurst,
           [](HostOnly& host, LingoValue* messages, int i) { host.noteOn(messages, i & 0x7F, i); });
}
BENCHMARK(BM_HostOnly_Short)->Unit(benchmark::kMillisecond);

void BM_HostOnly_Sysex1K(benchmark::State& state) {
  // The data list holds what lies between the manufacturer ID and the closing 0xF7.
  hostOnly(state, kSysexBurst, [](HostOnly& host, LingoValue* messages, int i) {
    host.sysex(messages, kSysexBytes - 3, i);
  });
}
BENCHMARK(BM_HostOnly_Sysex1K)->Unit(benchmark::kMillisecond);

}  // namespace
