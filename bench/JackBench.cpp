// The Xtra on the JACK backend, beside what a user would measure or pick instead, all on one
// private jackd (dummy driver, 48 kHz, 256 frames) in one run:
// - round trip SendMessage -> JACK -> loop client -> JACK -> GetNextMessage, beside
//   jack_midi_latency_test through the same loop client;
// - input from a feeder's dense stream into the Xtra and, at the same time from the same port,
//   into an RtMidi input on its JACK API.
#include <benchmark/benchmark.h>

#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "JackRig.h"
#include "JackServerRig.h"
#include "MacOsxTonvik.h"
#include "MidiSystemControl.h"
#include "RoundTrip.h"
#include "ValueStore.h"

#ifdef TONVIK_BENCH_HAVE_RTMIDI
#include <RtMidi.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kRate = 48000;
constexpr std::uint32_t kPeriod = 256;
constexpr double kPeriodSeconds = double{kPeriod} / kRate;
constexpr double kPortPatienceSeconds = 5.0;
constexpr double kArrivalPatienceSeconds = 1.0;
constexpr double kLatencyTestPatienceSeconds = 60.0;
// Between polls: far below a period, and it leaves the CPU to JACK's threads.
constexpr auto kPollStep = std::chrono::microseconds(20);
// How often the input benchmark drains the Xtra's queue, as a script does on every frame.
constexpr auto kDrainStep = std::chrono::milliseconds(16);
// Time after the stream for the last events to come through every thread.
constexpr auto kSettle = std::chrono::milliseconds(200);
constexpr std::int32_t kInputQueueBytes = 16 << 20;
constexpr int kLatencySamples = 200;

// The server and the clients of the run, made by the first benchmark and kept to the end.
struct Rig {
  // The server runs at kRate and kPeriod.
  Rig() {
    if (!server.start(true)) {
      problem = "jackd did not start";
    } else if (!midisystem::selectBackend("jack")) {
      problem = "the JACK backend cannot be chosen";
    } else {
      loop = std::make_unique<jackbench::LoopClient>("loop");
      feeder = std::make_unique<jackbench::Feeder>("feeder");
      if (!loop->open() || !feeder->open()) problem = "cannot open the loop and feeder clients";
    }
  }
  jackrig::JackServer server{JACKD_PROGRAM};  // first made, last gone
  std::unique_ptr<jackbench::LoopClient> loop;
  std::unique_ptr<jackbench::Feeder> feeder;
  const char* problem = nullptr;
};

// The rig, or nullptr with the benchmark skipped for the reason.
Rig* rigFor(benchmark::State& state) {
  static Rig rig;
  if (rig.problem == nullptr) return &rig;
  state.SkipWithError(rig.problem);
  return nullptr;
}

// The zero-based position of `name` in the instance's list of input or output ports, -1 if the
// directory does not show it within a few seconds (new JACK clients arrive as notifications).
std::int32_t portIndex(director::ValueStore& store, MacOsxTonvik& instance, bool input,
                       const std::string& name) {
  const auto deadline = Clock::now() + std::chrono::duration<double>(kPortPatienceSeconds);
  while (Clock::now() < deadline) {
    LingoValue list = store.makeLinearList();
    input ? instance.GetInputPorts(&list) : instance.GetOutputPorts(&list);
    std::int32_t found = -1;
    for (std::int32_t i = 1; i <= store.count(list) && found < 0; ++i) {
      LingoValue item = store.itemAt(list, i);
      if (store.kind(item) == director::ValueKind::String && store.string(item) == name)
        found = i - 1;
      store.release(item);
    }
    store.release(list);
    if (found >= 0) return found;
    midisystem::runRunLoop(0.05);
  }
  return -1;
}

std::int32_t receivedCount(director::ValueStore& store, MacOsxTonvik& instance, bool all) {
  LingoValue list = all ? store.makeLinearList() : store.makePropertyList();
  all ? instance.GetPendingMessages(&list) : instance.GetNextMessage(&list);
  const std::int32_t count = store.count(list);
  store.release(list);
  return all ? count : count > 0;
}

void BM_Jack_RoundTrip(benchmark::State& state) {
  if (rigFor(state) == nullptr) return;
  director::ValueStore store;
  std::vector<double> micros;
  {
    MacOsxTonvik instance(store.valueInterface(), store.listInterface(), store.allocator());
    if (instance.Init() != 0) {
      state.SkipWithError("no MIDI client");
      return;
    }
    const std::int32_t source = portIndex(store, instance, true, "loop out");
    const std::int32_t destination = portIndex(store, instance, false, "loop in");
    if (source < 0 || destination < 0 || instance.OpenInput(source, 0) != 0 ||
        instance.OpenOutput(destination) != 0) {
      state.SkipWithError("the loop client is not in the port lists");
      return;
    }
    LingoValue message = bench::noteOnMessage(store);
    // Each round trip waits until it is back, or fails the benchmark.
    const auto roundTrip = [&]() -> double {
      const Clock::time_point sent = Clock::now();
      instance.SendMessage(&message);
      while (receivedCount(store, instance, false) == 0) {
        const double waited = std::chrono::duration<double>(Clock::now() - sent).count();
        if (waited > kArrivalPatienceSeconds) return -1;
        std::this_thread::sleep_for(kPollStep);
      }
      return std::chrono::duration<double>(Clock::now() - sent).count();
    };
    // The first send connects the output to the loop.
    if (roundTrip() < 0) state.SkipWithError("the first note never came back");
    // A pause of one to two periods, at a random phase, makes each round trip independent.
    std::minstd_rand random(1);
    std::uniform_real_distribution<double> pause(kPeriodSeconds, 2 * kPeriodSeconds);
    for (auto _ : state) {
      std::this_thread::sleep_for(std::chrono::duration<double>(pause(random)));
      const double elapsed = roundTrip();
      if (elapsed < 0) {
        state.SkipWithError("a note never came back");
        break;
      }
      state.SetIterationTime(elapsed);
      micros.push_back(elapsed * 1e6);
    }
    store.release(message);
  }
  if (micros.empty()) return;
  state.counters["p50_us"] = bench::percentile(micros, 0.50);
  state.counters["p99_us"] = bench::percentile(micros, 0.99);
  state.counters["period_us"] = kPeriodSeconds * 1e6;
}
BENCHMARK(BM_Jack_RoundTrip)->UseManualTime()->Iterations(300)->Unit(benchmark::kMillisecond);

// The figure after `label` on the first line that has it, e.g. "Average latency: 5.33 ms".
double figureAfter(const std::string& output, const std::string& label) {
  const std::size_t at = output.find(label);
  if (at == std::string::npos) return -1;
  return std::stod(output.substr(at + label.size()));
}

// JACK's own tool, through the same loop client: its figures are frame-exact.
void BM_Jack_LatencyTestAnchor(benchmark::State& state) {
  const Rig* rig = rigFor(state);
  if (rig == nullptr) return;
  char file[] = "/tmp/tonvik-latency-XXXXXX";
  const int descriptor = mkstemp(file);
  if (descriptor < 0) {
    state.SkipWithError("no temporary file");
    return;
  }
  close(descriptor);
  std::string output;
  for (auto _ : state) {
    jackrig::Child test({JACK_MIDI_LATENCY_TEST_PROGRAM, "-s", std::to_string(kLatencySamples),
                         rig->loop->inName(), rig->loop->outName()},
                        file);
    if (!test.wait(kLatencyTestPatienceSeconds)) {
      state.SkipWithError("jack_midi_latency_test did not finish");
      break;
    }
    std::ifstream in(file);
    std::stringstream text;
    text << in.rdbuf();
    output = text.str();
    const double average = figureAfter(output, "Average latency:");
    if (average < 0) {
      state.SkipWithError("jack_midi_latency_test printed no average latency");
      break;
    }
    state.SetIterationTime(average * 1e-3);
  }
  std::remove(file);
  if (state.error_occurred()) return;
  state.counters["average_ms"] = figureAfter(output, "Average latency:");
  state.counters["highest_ms"] = figureAfter(output, "Highest latency:");
  state.counters["jitter_ms"] = figureAfter(output, "Average MIDI jitter:");
  state.counters["sent"] = figureAfter(output, "Messages sent:");
  state.counters["received"] = figureAfter(output, "Messages received:");
}
BENCHMARK(BM_Jack_LatencyTestAnchor)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

#ifdef TONVIK_BENCH_HAVE_RTMIDI
// Runs on JACK's process thread of RtMidi's client.
void countRtMidiMessage(double, std::vector<unsigned char>*, void* counter) {
  static_cast<std::atomic<std::uint64_t>*>(counter)->fetch_add(1, std::memory_order_relaxed);
}
#endif

// args: events per period, periods.
void BM_Jack_InputThroughput(benchmark::State& state) {
  const auto perPeriod = static_cast<std::uint32_t>(state.range(0));
  const auto periods = static_cast<std::uint32_t>(state.range(1));
  const Rig* rig = rigFor(state);
  if (rig == nullptr) return;
  jackbench::Feeder* feeder = rig->feeder.get();
  director::ValueStore store;
  MacOsxTonvik instance(store.valueInterface(), store.listInterface(), store.allocator());
  if (instance.Init() != 0) {
    state.SkipWithError("no MIDI client");
    return;
  }
  const std::int32_t source = portIndex(store, instance, true, "feeder");
  if (source < 0 || instance.OpenInput(source, kInputQueueBytes) != 0) {
    state.SkipWithError("the feeder is not in the input list");
    return;
  }
  // Relaxed: read only after the stream has settled, and no data hangs on it.
  std::atomic<std::uint64_t> rtmidiCount{0};
#ifdef TONVIK_BENCH_HAVE_RTMIDI
  std::unique_ptr<RtMidiIn> rtmidi;
  try {
    rtmidi = std::make_unique<RtMidiIn>(RtMidi::UNIX_JACK, "rtmidi-bench");
    unsigned port = 0;
    while (port < rtmidi->getPortCount() && rtmidi->getPortName(port) != feeder->outName()) ++port;
    rtmidi->openPort(port, "in");
    rtmidi->setCallback(countRtMidiMessage, &rtmidiCount);
  } catch (const RtMidiError& error) {
    state.SkipWithError(("RtMidi: " + error.getMessage()).c_str());
    return;
  }
#endif
  std::this_thread::sleep_for(kSettle);  // the connections are made
  std::uint64_t sent = 0, xtra = 0, rtmidiTotal = 0;
  double seconds = 0;
  bool overflowed = false;
  for (auto _ : state) {
    receivedCount(store, instance, true);
    instance.InputOverflowed();
    rtmidiCount.store(0, std::memory_order_relaxed);
    std::uint64_t received = 0;
    feeder->start(perPeriod, periods);
    while (!feeder->finished()) {
      std::this_thread::sleep_for(kDrainStep);
      received += receivedCount(store, instance, true);
    }
    std::this_thread::sleep_for(kSettle);
    received += receivedCount(store, instance, true);
    overflowed = overflowed || instance.InputOverflowed();
    sent += feeder->sent();
    xtra += received;
    rtmidiTotal += rtmidiCount.load(std::memory_order_relaxed);
    seconds += feeder->streamSeconds();
    state.SetIterationTime(feeder->streamSeconds());
  }
  state.counters["sent"] = static_cast<double>(sent);
  state.counters["xtra_received"] = static_cast<double>(xtra);
  state.counters["xtra_lost"] = static_cast<double>(sent - xtra);
  state.counters["xtra_overflowed"] = overflowed;
#ifdef TONVIK_BENCH_HAVE_RTMIDI
  state.counters["rtmidi_received"] = static_cast<double>(rtmidiTotal);
  state.counters["rtmidi_lost"] = static_cast<double>(sent - rtmidiTotal);
#endif
  state.counters["sent_per_second"] = seconds > 0 ? static_cast<double>(sent) / seconds : 0;
}
// About 6,000 and 48,000 messages a second for two seconds; a MIDI cable carries 1,000.
BENCHMARK(BM_Jack_InputThroughput)
    ->Args({32, 375})
    ->Args({256, 375})
    ->Args({1024, 375})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
