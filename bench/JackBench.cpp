// The Xtra on the JACK backend, beside what a user would measure or pick instead, all on one
// private jackd (dummy driver, 48 kHz, 256 frames) in one run:
// - round trip SendMessage -> JACK -> loop client -> JACK -> GetNextMessage, beside
//   jack_midi_latency_test through the same loop client, and beside RtMidi sending from this
//   thread through its JACK API over the same loop client;
// - input from a feeder's dense stream into the Xtra and, at the same time from the same port,
//   into an RtMidi input on its JACK API.
// With TONVIK_BENCH_RUNNING_SERVER set, the run uses the JACK server that answers instead of a
// jackd of its own: scripts/bench runs it so once more under PipeWire's JACK.
#include <benchmark/benchmark.h>

#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
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
  // A jackd of its own runs at 48 kHz and 256 frames a period (see JackServerRig.h).
  Rig() {
    const bool running = std::getenv("TONVIK_BENCH_RUNNING_SERVER") != nullptr;
    if (!server.start(!running)) {
      problem = running ? "no JACK server answers" : "jackd did not start";
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

// Round trips of one note, each after a pause of one to two periods at a random phase so that
// each is independent: `send` starts one, `back` tells whether it has come back, polled every
// kPollStep. The first ones only connect (PipeWire may drop a note sent the moment a connection
// is made); a note that never comes back after that fails the benchmark.
template <typename Send, typename Back>
void timeRoundTrips(benchmark::State& state, double periodSeconds, Send send, Back back) {
  const auto roundTrip = [&]() -> double {
    const Clock::time_point sent = Clock::now();
    send();
    while (!back()) {
      const double waited = std::chrono::duration<double>(Clock::now() - sent).count();
      if (waited > kArrivalPatienceSeconds) return -1;
      std::this_thread::sleep_for(kPollStep);
    }
    return std::chrono::duration<double>(Clock::now() - sent).count();
  };
  constexpr int kConnectingTries = 5;
  int tries = 1;
  while (roundTrip() < 0) {
    if (++tries > kConnectingTries) {
      state.SkipWithError("the first note never came back");
      return;
    }
  }
  std::vector<double> micros;
  std::minstd_rand random(1);
  std::uniform_real_distribution<double> pause(periodSeconds, 2 * periodSeconds);
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::duration<double>(pause(random)));
    const double elapsed = roundTrip();
    if (elapsed < 0) {
      state.SkipWithError("a note never came back");
      return;
    }
    state.SetIterationTime(elapsed);
    micros.push_back(elapsed * 1e6);
  }
  state.counters["p50_us"] = bench::percentile(micros, 0.50);
  state.counters["p99_us"] = bench::percentile(micros, 0.99);
  state.counters["period_us"] = periodSeconds * 1e6;
}

// False, with the benchmark skipped, when the instance gets no MIDI client.
bool initialised(benchmark::State& state, MacOsxTonvik& instance) {
  if (instance.Init() == 0) return true;
  state.SkipWithError("no MIDI client");
  return false;
}

void BM_Jack_RoundTrip(benchmark::State& state) {
  const Rig* rig = rigFor(state);
  if (rig == nullptr) return;
  director::ValueStore store;
  MacOsxTonvik instance(store.valueInterface(), store.listInterface(), store.allocator());
  if (!initialised(state, instance)) return;
  const std::int32_t source = portIndex(store, instance, true, "loop out");
  const std::int32_t destination = portIndex(store, instance, false, "loop in");
  if (source < 0 || destination < 0 || instance.OpenInput(source, 0) != 0 ||
      instance.OpenOutput(destination) != 0) {
    state.SkipWithError("the loop client is not in the port lists");
    return;
  }
  LingoValue message = bench::noteOnMessage(store);
  timeRoundTrips(
      state, rig->loop->periodSeconds(), [&] { instance.SendMessage(&message); },
      [&] { return receivedCount(store, instance, false) > 0; });
  store.release(message);
}
BENCHMARK(BM_Jack_RoundTrip)->UseManualTime()->Iterations(300)->Unit(benchmark::kMillisecond);

#ifdef TONVIK_BENCH_HAVE_RTMIDI
// The position of the port with this full JACK name among RtMidi's ports, or the port count.
template <typename Port>
unsigned rtmidiPort(Port& rtmidi, const std::string& name) {
  unsigned port = 0;
  while (port < rtmidi.getPortCount() && rtmidi.getPortName(port) != name) ++port;
  return port;
}

// Runs on JACK's process thread of RtMidi's input client.
void countRtMidiMessage(double, std::vector<unsigned char>*, void* counter) {
  static_cast<std::atomic<std::uint64_t>*>(counter)->fetch_add(1, std::memory_order_release);
}

// The same round trip with RtMidi on both ends: sent from this thread through RtMidi's JACK
// output, which its process callback writes in the next period, as the Xtra's sends go; back
// through an RtMidi input, counted in its callback and polled as the Xtra's queue is.
void BM_Jack_RtMidiRoundTrip(benchmark::State& state) {
  const Rig* rig = rigFor(state);
  if (rig == nullptr) return;
  // Acquire: pairs with the callback's release, though only the count itself is read.
  std::atomic<std::uint64_t> arrived{0};
  try {
    RtMidiOut out(RtMidi::UNIX_JACK, "rtmidi-out");
    RtMidiIn in(RtMidi::UNIX_JACK, "rtmidi-in");
    out.openPort(rtmidiPort(out, rig->loop->inName()), "out");
    in.openPort(rtmidiPort(in, rig->loop->outName()), "in");
    in.setCallback(countRtMidiMessage, &arrived);
    const std::vector<unsigned char> note = {0x90, 60, 100};
    std::uint64_t awaited = 0;
    timeRoundTrips(
        state, rig->loop->periodSeconds(),
        [&] {
          awaited = arrived.load(std::memory_order_acquire) + 1;
          out.sendMessage(&note);
        },
        [&] { return arrived.load(std::memory_order_acquire) >= awaited; });
  } catch (const RtMidiError& error) {
    state.SkipWithError(("RtMidi: " + error.getMessage()).c_str());
  }
}
BENCHMARK(BM_Jack_RtMidiRoundTrip)->UseManualTime()->Iterations(300)->Unit(benchmark::kMillisecond);
#endif

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

// args: events per period, periods.
void BM_Jack_InputThroughput(benchmark::State& state) {
  const auto perPeriod = static_cast<std::uint32_t>(state.range(0));
  const auto periods = static_cast<std::uint32_t>(state.range(1));
  const Rig* rig = rigFor(state);
  if (rig == nullptr) return;
  jackbench::Feeder* feeder = rig->feeder.get();
  director::ValueStore store;
  MacOsxTonvik instance(store.valueInterface(), store.listInterface(), store.allocator());
  if (!initialised(state, instance)) return;
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
    rtmidi->openPort(rtmidiPort(*rtmidi, feeder->outName()), "in");
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
