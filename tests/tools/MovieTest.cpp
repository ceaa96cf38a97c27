// Playing a movie script against a host whose clock moves only when it is waited on: the order
// of the handlers, what stops play, and when each frame starts. The tool's own host (real time,
// signals) is run by MovieSignalTest and the movie_*.ls scripts.
#include "Movie.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tonvik {
namespace {

using std::chrono::milliseconds;

constexpr MovieClock::time_point kStart{std::chrono::hours(1)};

int msFromStart(MovieClock::time_point t) {
  return static_cast<int>((t - kStart) / milliseconds(1));
}

// Each frame's run loop writes "-- runLoop" into the script's output and takes a millisecond, so
// the order of the handlers and the run loop shows in one text.
class ScriptedHost final : public MovieHost {
 public:
  explicit ScriptedHost(std::ostream& out) : out_(out) {}

  MovieClock::time_point now() override { return now_; }
  bool waitUntil(MovieClock::time_point deadline) override {
    waits.push_back(msFromStart(deadline));
    now_ = std::max(now_, deadline);
    return false;
  }
  bool stopRequested() override { return false; }
  void runRunLoop() override {
    out_ << "-- runLoop\n";
    now_ += milliseconds(1);
  }

  // Every deadline waited for, in milliseconds from the start.
  std::vector<int> waits;

 private:
  std::ostream& out_;
  MovieClock::time_point now_ = kStart;
};

struct PlayCase {
  std::string name;
  std::string script;
  PlayLimits limits;
  std::string out;
  std::string err;
  int status;
  std::vector<int> waits;  // milliseconds from the start
};

// The frame limit, errors in a frame and the real host's stops are run by the movie_*.ls scripts
// and MovieSignalTest; these rows need the scripted clock: when each frame starts, and that none
// does after startMovie fails.
const std::string kLogging =
    "on startMovie\n  put #startMovie\n  puppetTempo 50\nend\n"
    "on stopMovie\n  put #stopMovie\nend\n";

// Laid out by hand: clang-format would give every field of a row a line of its own.
// clang-format off
const PlayCase kPlayCases[] = {
  {"HandlersInOrderAtTheTempoUntilHalt",
   kLogging + "global n\nn = 0\non enterFrame\n  n = n + 1\n  put #enterFrame, n\n"
              "  if n = 3 then halt\nend\non exitFrame\n  put #exitFrame, n\nend\n",
   PlayLimits{}, "-- #startMovie\n-- #enterFrame 1\n-- runLoop\n-- #exitFrame 1\n-- #enterFrame 2\n"
   "-- runLoop\n-- #exitFrame 2\n-- #enterFrame 3\n-- #stopMovie\n", "", kExitSuccess, {20, 40}},
  {"ErrorInStartMovieSkipsTheFrames",
   "on startMovie\n  x = y\nend\non stopMovie\n  put #stopMovie\nend\non exitFrame\nend\n",
   PlayLimits{}, "-- #stopMovie\n",
   "Script error: Variable used before assigned a value: y (movie.ls:2)\n", kExitScriptError, {}},
  // Without frame handlers the run loop plays on its own.
  {"TimeLimitWaitsOutItsEnd", kLogging, PlayLimits{0, milliseconds(50)},
   "-- #startMovie\n-- runLoop\n-- runLoop\n-- runLoop\n-- #stopMovie\n", "", kExitSuccess,
   {20, 40, 50}},
};
// clang-format on

TEST(Movie, PlaysTheHandlersAndStops) {
  for (const PlayCase& row : kPlayCases) {
    SCOPED_TRACE(row.name);
    std::ostringstream out;
    std::ostringstream err;
    Interpreter interpreter(out);
    interpreter.run(row.script);
    ScriptedHost host(out);
    EXPECT_EQ(playMovie(interpreter, host, row.limits, "movie.ls", out, err), row.status);
    EXPECT_EQ(out.str(), row.out);
    EXPECT_EQ(err.str(), row.err);
    EXPECT_EQ(host.waits, row.waits);
  }
}

TEST(Schedule, StartsFramesOnTheGrid) {
  struct Case {
    // When each frame ends, with the tempo then: the schedule is asked for the next start.
    std::vector<std::pair<int, int>> endsAtTempo;  // milliseconds from the first start, tempo
    std::vector<int> starts;                       // milliseconds from the first start
  };
  const Case cases[] = {
      {{{5, 50}, {25, 50}, {45, 50}}, {20, 40, 60}},
      // Frame 2 (20 to 45 ms) overruns: frame 3 starts at once, frame 4 on time.
      {{{5, 50}, {45, 50}, {50, 50}}, {20, 45, 60}},
      // Points that went by are skipped, not played in a burst.
      {{{5, 50}, {95, 50}, {97, 50}}, {20, 95, 100}},
      // A new tempo starts a grid at the frame that played (20 ms), here 40 ms apart.
      {{{5, 50}, {25, 25}, {70, 25}}, {20, 60, 100}},
  };
  for (const Case& row : cases) {
    FrameSchedule schedule(kStart, row.endsAtTempo.front().second);
    std::vector<int> starts;
    for (auto [end, tempo] : row.endsAtTempo) {
      starts.push_back(msFromStart(schedule.next(kStart + milliseconds(end), tempo)));
    }
    EXPECT_EQ(starts, row.starts);
  }
}

// A third of a frame's nanosecond is lost at every frame of 30 a second if the period is
// rounded once and added up; the grid is exact, so 3000 frames start exactly 100 s apart.
TEST(Schedule, DoesNotDriftOverLongPlay) {
  FrameSchedule schedule(kStart, 30);
  MovieClock::time_point start = kStart;
  for (int frame = 1; frame <= 3000; ++frame) {
    start = schedule.next(start + milliseconds(1), 30);
  }
  EXPECT_EQ(start - kStart, std::chrono::seconds(100));
}

}  // namespace
}  // namespace tonvik
