// How well a movie keeps its tempo: frames a second, drift and lateness over 5 s at 30 and
// 60 frames a second, played by the tool's player and real-time host (its frame handler counts
// in a global, as a script's does). Beside it, what a script that loops with `wait` gets: the
// same handler, then a sleep of one frame's time, measured against the grid it means to keep.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <sstream>
#include <thread>
#include <vector>

#include "Movie.h"
#include "RoundTrip.h"
#include "StopRequest.h"

namespace {

using tonvik::MovieClock;

constexpr std::chrono::seconds kPlayTime{5};

const char* const kMovie =
    "global gFrames\ngFrames = 0\non exitFrame\n  gFrames = gFrames + 1\n  go to the frame\nend\n";

// The real-time host, noting when each frame began and when the player meant it to: the run
// loop runs first thing in a frame whose enterFrame is not defined, right after the wait for
// the frame's start.
class TimedHost final : public tonvik::MovieHost {
 public:
  explicit TimedHost(const tonvik::StopRequest& stop) : host_(stop, [] {}) {}
  MovieClock::time_point now() override { return host_.now(); }
  bool waitUntil(MovieClock::time_point deadline) override {
    due_ = deadline;
    return host_.waitUntil(deadline);
  }
  bool stopRequested() override { return host_.stopRequested(); }
  void runRunLoop() override {
    starts.push_back(MovieClock::now());
    scheduled.push_back(due_ ? *due_ : starts.back());
  }

  std::vector<MovieClock::time_point> starts;
  std::vector<MovieClock::time_point> scheduled;

 private:
  tonvik::RealTimeMovieHost host_;
  std::optional<MovieClock::time_point> due_;
};

// Frames a second; the drift, how late the last frame of the 5 s began against when it was due;
// and the median and the largest lateness of a frame.
void report(benchmark::State& state, const std::vector<MovieClock::time_point>& starts,
            const std::vector<MovieClock::time_point>& scheduled) {
  if (starts.size() < 2) {
    state.SkipWithError("fewer than two frames played");
    return;
  }
  std::vector<double> lateMs;
  for (std::size_t i = 0; i < starts.size(); ++i) {
    lateMs.push_back(std::chrono::duration<double, std::milli>(starts[i] - scheduled[i]).count());
  }
  const double span = std::chrono::duration<double>(starts.back() - starts.front()).count();
  state.counters["frames"] = static_cast<double>(starts.size());
  state.counters["fps"] = static_cast<double>(starts.size() - 1) / span;
  state.counters["drift_ms"] = lateMs.back();
  state.counters["late_max_ms"] = *std::max_element(lateMs.begin(), lateMs.end());
  state.counters["late_p50_ms"] = bench::percentile(lateMs, 0.5);
}

void BM_MovieTempo(benchmark::State& state) {
  const int tempo = static_cast<int>(state.range(0));
  for (auto _ : state) {
    std::ostringstream out;
    tonvik::Interpreter interpreter(out);
    interpreter.run(kMovie + std::string("puppetTempo ") + std::to_string(tempo) + "\n");
    tonvik::StopRequest stop;
    TimedHost host(stop);
    std::ostringstream err;
    tonvik::playMovie(interpreter, host, tonvik::PlayLimits{0, kPlayTime}, "bench", out, err);
    report(state, host.starts, host.scheduled);
  }
}
BENCHMARK(BM_MovieTempo)->Arg(30)->Arg(60)->Iterations(1)->Repetitions(3)->Unit(benchmark::kSecond);

// The loop a script writes by hand: the handler, then wait one period.
void BM_SleepAfterEachFrame(benchmark::State& state) {
  const int tempo = static_cast<int>(state.range(0));
  for (auto _ : state) {
    std::ostringstream out;
    tonvik::Interpreter interpreter(out);
    interpreter.run(kMovie);
    std::vector<MovieClock::time_point> starts;
    std::vector<MovieClock::time_point> scheduled;
    const auto period = std::chrono::nanoseconds(1'000'000'000 / tempo);
    const auto first = MovieClock::now();
    while (MovieClock::now() < first + kPlayTime) {
      starts.push_back(MovieClock::now());
      // Due at its place in a grid of the tempo from the first frame.
      scheduled.push_back(first + static_cast<std::int64_t>(scheduled.size()) * period);
      interpreter.call("exitFrame", {});
      std::this_thread::sleep_for(period);
    }
    report(state, starts, scheduled);
  }
}
BENCHMARK(BM_SleepAfterEachFrame)
    ->Arg(30)
    ->Arg(60)
    ->Iterations(1)
    ->Repetitions(3)
    ->Unit(benchmark::kSecond);

}  // namespace
