// Playing a movie script against a host whose clock moves only when it is waited on: the order
// of the handlers, what stops play, and when each frame starts. The tool's own host (real time,
// signals) is run by MovieSignalTest and the movie_*.ls scripts.
#include "Movie.h"

#include <gtest/gtest.h>

#include <sstream>

#include "Container.h"

namespace tonvik {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

// Each frame's run loop writes "-- runLoop" into the script's output, so the order of the
// handlers and the run loop shows in one text.
class ScriptedHost final : public MovieHost {
 public:
  explicit ScriptedHost(std::ostream& out) : out_(out) {}

  MovieClock::time_point now() override { return now_; }
  bool waitUntil(MovieClock::time_point deadline) override {
    waits.push_back(
        static_cast<int>(std::chrono::duration_cast<milliseconds>(deadline - kStart).count()));
    if (static_cast<int>(waits.size()) == stopAtWait) stopped_ = true;
    if (stopped_) return true;
    now_ = std::max(now_, deadline);
    return false;
  }
  bool stopRequested() override { return stopped_; }
  void runRunLoop() override {
    out_ << "-- runLoop\n";
    now_ += frameCost;
  }

  static constexpr MovieClock::time_point kStart{std::chrono::hours(1)};
  // The wait (counting from 1) during which a stop is requested, as Ctrl-C would; 0 for none.
  int stopAtWait = 0;
  // How long each frame takes.
  nanoseconds frameCost{milliseconds(1)};
  // Every deadline waited for, in milliseconds from the start.
  std::vector<int> waits;

 private:
  std::ostream& out_;
  MovieClock::time_point now_ = kStart;
  bool stopped_ = false;
};

struct PlayCase {
  std::string name;
  std::string script;
  PlayLimits limits;
  int stopAtWait;
  std::string out;
  std::string err;
  int status;
  std::vector<int> waits;  // milliseconds from the start
};

// Handlers that say when they run; a row adds what it tests. That an error in a frame still runs
// stopMovie is run by movie_error.ls.
const std::string kStopMovie = "on stopMovie\n  put #stopMovie\nend\n";
const std::string kLogging =
    "on startMovie\n  put #startMovie\n  puppetTempo 50\nend\n" + kStopMovie;
const std::string kFrames =
    "global n\nn = 0\non enterFrame\n  n = n + 1\n  put #enterFrame, n\nend\n"
    "on exitFrame\n  put #exitFrame, n\nend\n";
const std::string kTwoFrames =
    "-- #startMovie\n-- #enterFrame 1\n-- runLoop\n-- #exitFrame 1\n-- #enterFrame 2\n";

// Laid out by hand: clang-format would give every field of a row a line of its own.
// clang-format off
const PlayCase kPlayCases[] = {
  {"HandlersInOrderAtTheTempo", kLogging + kFrames, PlayLimits{3}, 0,
   kTwoFrames + "-- runLoop\n-- #exitFrame 2\n-- #enterFrame 3\n-- runLoop\n-- #exitFrame 3\n"
                "-- #stopMovie\n", "", kExitSuccess, {20, 40}},
  {"HaltInEnterFrameEndsPlayThere",
   kLogging + "global n\nn = 0\non enterFrame\n  n = n + 1\n  put #enterFrame, n\n"
              "  if n = 2 then halt\nend\non exitFrame\n  put #exitFrame, n\nend\n",
   PlayLimits{}, 0, kTwoFrames + "-- #stopMovie\n", "", kExitSuccess, {20}},
  {"QuitInStartMovieSkipsTheFrames",
   "on startMovie\n  put #startMovie\n  quit\n  put #after\nend\n" + kStopMovie + kFrames,
   PlayLimits{}, 0, "-- #startMovie\n-- #stopMovie\n", "", kExitSuccess, {}},
  {"ErrorInStartMovieSkipsTheFrames",
   "on startMovie\n  x = y\nend\n" + kStopMovie + kFrames, PlayLimits{}, 0,
   "-- #stopMovie\n", "Script error: Variable used before assigned a value: y (movie.ls:2)\n",
   kExitScriptError, {}},
  {"ErrorsInAFrameAndInStopMovieBothShow",
   "on exitFrame\n  put #exitFrame\n  go to frame 3\nend\n"
   "on stopMovie\n  put #stopMovie\n  closeEverything\nend\n",
   PlayLimits{}, 0, "-- runLoop\n-- #exitFrame\n-- #stopMovie\n",
   "Script error: go: there is no frame 3; the movie has one frame (movie.ls:3)\n"
   "Script error: Handler not defined: closeEverything (movie.ls:7)\n", kExitScriptError, {}},
  {"StopRequestedWhileWaiting", kLogging + kFrames, PlayLimits{}, 2,
   kTwoFrames + "-- runLoop\n-- #exitFrame 2\n-- #stopMovie\n", "", kExitSuccess, {20, 40}},
  {"TimeLimitWaitsOutItsEnd", kLogging + "on exitFrame\nend\n", PlayLimits{0, milliseconds(50)},
   0, "-- #startMovie\n-- runLoop\n-- runLoop\n-- runLoop\n-- #stopMovie\n", "", kExitSuccess,
   {20, 40, 50}},
  {"WithoutFrameHandlersOnlyTheRunLoopPlays", kLogging, PlayLimits{2}, 0,
   "-- #startMovie\n-- runLoop\n-- runLoop\n-- #stopMovie\n", "", kExitSuccess, {20}},
};
// clang-format on

class Playing : public testing::TestWithParam<PlayCase> {};

TEST_P(Playing, RunsTheHandlersAndStops) {
  const PlayCase& row = GetParam();
  std::ostringstream out;
  std::ostringstream err;
  Interpreter interpreter(out);
  interpreter.run(row.script);
  ScriptedHost host(out);
  host.stopAtWait = row.stopAtWait;
  EXPECT_EQ(playMovie(interpreter, host, row.limits, "movie.ls", out, err), row.status);
  EXPECT_EQ(out.str(), row.out);
  EXPECT_EQ(err.str(), row.err);
  EXPECT_EQ(host.waits, row.waits);
}

INSTANTIATE_TEST_SUITE_P(Movie, Playing, testing::ValuesIn(kPlayCases),
                         [](const testing::TestParamInfo<PlayCase>& info) {
                           return info.param.name;
                         });

struct ScheduleCase {
  std::string name;
  // When each frame ends, with the tempo then: the schedule is asked for the next start.
  std::vector<std::pair<int, int>> endsAtTempo;  // milliseconds from the first start, tempo
  std::vector<int> starts;                       // milliseconds from the first start
};

class Schedule : public testing::TestWithParam<ScheduleCase> {};

TEST_P(Schedule, StartsFramesOnTheGrid) {
  const ScheduleCase& row = GetParam();
  const MovieClock::time_point first{std::chrono::hours(1)};
  FrameSchedule schedule(first, row.endsAtTempo.front().second);
  std::vector<int> starts;
  for (auto [end, tempo] : row.endsAtTempo) {
    auto start = schedule.next(first + milliseconds(end), tempo);
    starts.push_back(
        static_cast<int>(std::chrono::duration_cast<milliseconds>(start - first).count()));
  }
  EXPECT_EQ(starts, row.starts);
}

// clang-format off
const ScheduleCase kScheduleCases[] = {
  {"OnTime", {{5, 50}, {25, 50}, {45, 50}}, {20, 40, 60}},
  // Frame 2 (20 to 45 ms) overruns: frame 3 starts at once, frame 4 on time.
  {"AnOverrunDelaysOnlyTheNextFrame", {{5, 50}, {45, 50}, {50, 50}}, {20, 45, 60}},
  // Points that went by are skipped, not played in a burst.
  {"ALongOverrunSkipsThePointsItMissed", {{5, 50}, {95, 50}, {97, 50}}, {20, 95, 100}},
  // The new grid starts at the frame that played (20 ms), 40 ms apart.
  {"ANewTempoStartsAGridAtTheFrameThatPlayed", {{5, 50}, {25, 25}, {70, 25}}, {20, 60, 100}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Movie, Schedule, testing::ValuesIn(kScheduleCases),
                         [](const testing::TestParamInfo<ScheduleCase>& info) {
                           return info.param.name;
                         });

// A third of a frame's nanosecond is lost at every frame of 30 a second if the period is
// rounded once and added up; the grid is exact, so 3000 frames start exactly 100 s apart.
TEST(Schedule, DoesNotDriftOverLongPlay) {
  const MovieClock::time_point first{std::chrono::hours(1)};
  FrameSchedule schedule(first, 30);
  MovieClock::time_point start = first;
  for (int frame = 1; frame <= 3000; ++frame) {
    start = schedule.next(start + milliseconds(1), 30);
  }
  EXPECT_EQ(start - first, std::chrono::seconds(100));
}

// Lists that only refer to one another, made in one frame and let go in a later one, are freed
// between frames, not when play ends.
TEST(Movie, FreesCyclesBetweenFrames) {
  std::ostringstream out;
  Interpreter interpreter(out);
  const std::size_t listsBefore = liveContainerCount();
  interpreter.run(
      "global g\non exitFrame\n  if voidp(g) then\n    g = [1]\n    add(g, g)\n"
      "  else\n    g = 0\n  end if\nend\n"
      "on stopMovie\n  put hostLists()\nend\n");
  interpreter.registerHostFunction("hostLists", [&](const std::vector<Value>&) {
    return Value::integer(static_cast<std::int32_t>(liveContainerCount() - listsBefore));
  });
  ScriptedHost host(out);
  std::ostringstream err;
  EXPECT_EQ(playMovie(interpreter, host, PlayLimits{2}, "movie.ls", out, err), kExitSuccess);
  EXPECT_EQ(out.str(), "-- runLoop\n-- runLoop\n-- 0\n");
}

}  // namespace
}  // namespace tonvik
