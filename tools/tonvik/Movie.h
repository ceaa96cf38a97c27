// Plays a movie script the way the host plays a movie of one frame: prepareMovie and
// startMovie, then frames at the movie's tempo (prepareFrame, enterFrame, the run loop,
// exitFrame) until something stops play, then stopMovie.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "ExitStatus.h"
#include "Interpreter.h"

namespace tonvik {

class StopRequest;

using MovieClock = std::chrono::steady_clock;

// What playing needs from where it runs: a clock to keep the tempo by, a stop that may come from
// outside (Ctrl-C), and the host's run loop. Tests and the fuzzer give one that never sleeps.
class MovieHost {
 public:
  virtual ~MovieHost() = default;
  virtual MovieClock::time_point now() = 0;
  // Waits until `deadline`, or less when a stop is requested meanwhile; true when one is.
  virtual bool waitUntil(MovieClock::time_point deadline) = 0;
  virtual bool stopRequested() = 0;
  // Once in each frame, between enterFrame and exitFrame: device notifications arrive here.
  virtual void runRunLoop() = 0;
};

// The tool's host: the steady clock, waits that a stop request ends at once, and the run loop
// it is given.
class RealTimeMovieHost final : public MovieHost {
 public:
  RealTimeMovieHost(const StopRequest& stop, std::function<void()> runLoop)
      : stop_(stop), runLoop_(std::move(runLoop)) {}
  MovieClock::time_point now() override { return MovieClock::now(); }
  bool waitUntil(MovieClock::time_point deadline) override;
  bool stopRequested() override;
  void runRunLoop() override { runLoop_(); }

 private:
  const StopRequest& stop_;
  std::function<void()> runLoop_;
};

// When play stops by itself: after so many frames, or once so much time has passed since the
// first frame began. Zero for no limit.
struct PlayLimits {
  std::uint64_t frames = 0;
  std::chrono::nanoseconds time{0};
};

// When each frame starts. Frames start on a grid of 1/tempo seconds from the first, so lateness
// never adds up to drift. A frame that ends late makes only the next one start late (at once);
// the one after it is on the grid again, and grid points that went by meanwhile are skipped
// rather than played in a burst. A new tempo starts a new grid at the frame that just played.
class FrameSchedule {
 public:
  FrameSchedule(MovieClock::time_point firstFrame, int tempo);
  // The start of the next frame, given the time now (the frame that played has ended) and the
  // tempo now.
  MovieClock::time_point next(MovieClock::time_point now, int tempo);

 private:
  MovieClock::time_point slotStart(std::int64_t slot) const;

  MovieClock::time_point anchor_;
  std::int64_t slot_ = 0;
  int tempo_;
};

// Whether the scripts run so far make a movie: one of them defines enterFrame or exitFrame.
bool isMovieScript(const Interpreter& interpreter);

// Plays, once the script's top-level statements have run: calls prepareMovie and startMovie,
// plays frames, and calls stopMovie however play stopped (`halt` or `quit`, a stop requested
// through `host`, a limit, or a script error in a handler), each handler only if the script defines
// it. A script error is written to `err` as "Script error: MESSAGE (SOURCE:LINE)" and play stops.
// Returns kExitSuccess, or kExitScriptError when a handler stopped with a script error.
int playMovie(Interpreter& interpreter, MovieHost& host, const PlayLimits& limits,
              const std::string& sourceName, std::ostream& out, std::ostream& err);

}  // namespace tonvik
