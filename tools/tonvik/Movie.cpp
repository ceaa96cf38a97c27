#include "Movie.h"

#include "ScriptRunner.h"
#include "StopRequest.h"

namespace tonvik {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

}  // namespace

bool RealTimeMovieHost::waitUntil(MovieClock::time_point deadline) {
  return stop_.waitUntil(deadline);
}

bool RealTimeMovieHost::stopRequested() {
  return stop_.requested();
}

FrameSchedule::FrameSchedule(MovieClock::time_point firstFrame, int tempo)
    : anchor_(firstFrame), tempo_(tempo) {}

// Whole seconds and the rest apart, so that neither product can overflow in a movie that plays
// for years.
MovieClock::time_point FrameSchedule::slotStart(std::int64_t slot) const {
  std::int64_t nanoseconds =
      slot / tempo_ * kNanosecondsPerSecond + slot % tempo_ * kNanosecondsPerSecond / tempo_;
  return anchor_ + std::chrono::nanoseconds(nanoseconds);
}

MovieClock::time_point FrameSchedule::next(MovieClock::time_point now, int tempo) {
  if (tempo != tempo_) {
    anchor_ = slotStart(slot_);
    slot_ = 0;
    tempo_ = tempo;
  }
  MovieClock::time_point due = slotStart(slot_ + 1);
  if (now <= due) {
    ++slot_;
    return due;
  }
  // Late: the next frame starts now, in the slot that now falls in.
  std::int64_t elapsed = std::chrono::nanoseconds(now - anchor_).count();
  slot_ = elapsed / kNanosecondsPerSecond * tempo_ +
          elapsed % kNanosecondsPerSecond * tempo_ / kNanosecondsPerSecond;
  return now;
}

bool isMovieScript(const Interpreter& interpreter) {
  return interpreter.hasHandler("enterFrame") || interpreter.hasHandler("exitFrame");
}

namespace {

class Player {
 public:
  Player(Interpreter& interpreter, MovieHost& host, const std::string& sourceName,
         std::ostream& out, std::ostream& err)
      : interpreter_(interpreter), host_(host), sourceName_(sourceName), out_(out), err_(err) {}

  // Calls the handler if the script has it; whether play goes on (no halt, no script error).
  bool handle(std::string_view name) {
    if (!interpreter_.hasHandler(name)) return true;
    try {
      interpreter_.call(name, {});
    } catch (const ScriptError& error) {
      reportScriptError(error, sourceName_, out_, err_);
      status_ = kExitScriptError;
      return false;
    }
    return !interpreter_.halted();
  }

  void playFrames(const PlayLimits& limits) {
    const MovieClock::time_point start = host_.now();
    const MovieClock::time_point end =
        limits.time.count() > 0 ? start + limits.time : MovieClock::time_point::max();
    FrameSchedule schedule(start, interpreter_.frameTempo());
    for (std::uint64_t played = 0; !host_.stopRequested();) {
      if (!handle("prepareFrame") || !handle("enterFrame")) return;
      host_.runRunLoop();
      if (!handle("exitFrame")) return;
      // No value is being evaluated between frames, so every list not reachable from a variable
      // is garbage; without this, cycles a frame left would wait for the end of play.
      interpreter_.collectUnreachableLists();
      if (++played == limits.frames) return;
      MovieClock::time_point next = schedule.next(host_.now(), interpreter_.frameTempo());
      if (next >= end) {
        host_.waitUntil(end);
        return;
      }
      if (host_.waitUntil(next)) return;
    }
  }

  int status() const { return status_; }

 private:
  Interpreter& interpreter_;
  MovieHost& host_;
  const std::string& sourceName_;
  std::ostream& out_;
  std::ostream& err_;
  int status_ = kExitSuccess;
};

}  // namespace

int playMovie(Interpreter& interpreter, MovieHost& host, const PlayLimits& limits,
              const std::string& sourceName, std::ostream& out, std::ostream& err) {
  Player player(interpreter, host, sourceName, out, err);
  if (player.handle("prepareMovie") && player.handle("startMovie")) player.playFrames(limits);
  player.handle("stopMovie");
  out.flush();
  return player.status();
}

}  // namespace tonvik
