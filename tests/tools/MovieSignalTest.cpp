// Ctrl-C and SIGTERM sent to a movie that plays until stopped, as a user stops one: play ends at
// a frame's end, stopMovie runs, every instance is released (the tool says on standard error
// when a value is left, so standard error must stay empty) and the status is 0. A second signal
// ends the tool at once, for a stopMovie that never returns.
#include <gtest/gtest.h>

#include <cstring>

#include "ToolProcess.h"

namespace {

using namespace tonvik::testing;

// Time for a sanitizer build on a busy machine to start playing, and to stop.
constexpr std::chrono::seconds kPatience{60};

// movie_signal.ls plays until stopped; as a script test it stops after three frames, and prints
// then what it prints here.
const std::string kMovie = slurp(TONVIK_SCRIPTS_DIR "/movie_signal.ls");

TEST(StoppingAMovie, CtrlCOrTerminateRunsStopMovieAndReleasesEverything) {
  for (int signal : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(strsignal(signal));
    ToolProcess tool(kMovie);
    ASSERT_TRUE(tool.waitForOutput("playing", kPatience));
    tool.signal(signal);
    Outcome outcome = tool.finish(kPatience);
    ASSERT_TRUE(WIFEXITED(outcome.rawStatus)) << "ended by signal " << WTERMSIG(outcome.rawStatus);
    EXPECT_EQ(WEXITSTATUS(outcome.rawStatus), 0);
    EXPECT_EQ(outcome.out, "-- \"playing\"\n-- \"stopMovie\" 0 0\n-- \"values held:\" 1\n");
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(StoppingAMovie, SecondCtrlCEndsAStopMovieThatNeverReturns) {
  ToolProcess tool(
      "on exitFrame\n  put \"playing\"\n  halt\nend\n"
      "on stopMovie\n  put \"stopping\"\n  repeat while 1\n  end repeat\nend\n");
  ASSERT_TRUE(tool.waitForOutput("stopping", kPatience));
  // Again and again: two signals sent at once may arrive as one.
  auto deadline = std::chrono::steady_clock::now() + kPatience;
  do {
    tool.signal(SIGINT);
  } while (!tool.endsWithin(std::chrono::milliseconds(100)) &&
           std::chrono::steady_clock::now() < deadline);
  Outcome outcome = tool.finish(kPatience);
  ASSERT_TRUE(WIFSIGNALED(outcome.rawStatus));
  EXPECT_EQ(WTERMSIG(outcome.rawStatus), SIGINT);
}

}  // namespace
