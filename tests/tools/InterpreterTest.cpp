#include <stdexcept>

#include "Container.h"
#include "Limits.h"
#include "ScriptRunner.h"
#include "ScriptThread.h"
#include "ValueFormat.h"

namespace tonvik {
namespace {

using InterpreterTest = ScriptRunner;

TEST_F(InterpreterTest, RuntimeErrorsStopWithAClearMessage) {
  const std::pair<const char*, const char*> cases[] = {
      {"on f\n  return z\nend\nz = 1\nput f()", "Variable used before assigned a value: z"},
      {"put [] + 1", "Cannot compute a list + integer 1"},
      {"put -\"x\"", "Cannot negate string \"x\""},
      {"if \"yes\" then put 1", "Expected TRUE or FALSE, got string \"yes\""},
      {"put [1][#a]", "Expected an integer, got symbol #a"},
      {"put 5[1]", "Expected a list, got integer 5"},
      {"x = 5\nx.a = 1", "Cannot set property a of integer 5"},
      {"put count(1)", "count: expected a list, got integer 1"},
      {"put ilk()", "ilk expects 1 or 2 arguments, got 0"},
      {"add([:], 1)", "add: expected a linear list, got a property list"},
      {"setAt([], 100000000, 1)", "setAt: index 100000000 is too large"},
      {"setProp([#a: 1], #b, 2)", "setProp: property not found: #b"},
      {"put integer(1e20)", "integer: 100000000000000000000.0000 is out of the integer range"},
      {"repeat with i = 1 to \"x\"\nend repeat",
       "repeat with: expected an integer bound, got string \"x\""},
      {"repeat with i in 5\nend repeat", "repeat with in: expected a list, got integer 5"},
      {"put new(5)", "new: expected an Xtra such as xtra \"Name\", got integer 5"},
      {"wait(\"soon\")", "wait: expected a number of milliseconds, got string \"soon\""},
      {"on mouseUp\n  put the mouseH\nend\nmouseUp", "Unknown property \"the mouseH\""},
      {"go to frame 2", "go: there is no frame 2; the movie has one frame"},
      {"go \"intro\"", "go: there is no marker \"intro\"; the movie has one frame and no markers"},
      {"go to [1]", "go: expected a frame number or a marker name, got a list"},
      {"go next", "go next: the movie has no markers"},
      {"go to movie \"b\"", "go to movie: the message window plays only the script it was given"},
      {"puppetTempo 0", "puppetTempo: expected 1 to 999 frames a second, got integer 0"},
      {"puppetTempo #fast", "puppetTempo: expected 1 to 999 frames a second, got symbol #fast"},
      {"puppetTempo(30, 1)", "puppetTempo expects 1 argument, got 2"},
      {"startTimer 1", "startTimer expects 0 arguments, got 1"},
  };
  for (const auto& [script, message] : cases) EXPECT_STREQ(errorOf(script).what(), message);
}

// A host function comes before a built-in of the same name (a script's handler before both is
// run by semantics.ls), and any exception from it but a script error is reported as its error
// (a script error, on its line, by error_host_function.ls).
TEST_F(InterpreterTest, HostFunctionsComeBeforeBuiltInsAndReportTheirErrors) {
  interpreter_->registerHostFunction("count", [](const std::vector<Value>&) -> Value {
    throw std::runtime_error("socket closed");
  });
  EXPECT_STREQ(errorOf("put count([1])").what(), "count: socket closed");
}

TEST_F(InterpreterTest, StepsTheRunLoopBetweenTopLevelStatementsAndInWait) {
  std::vector<long> steps;
  interpreter_->setRunLoopStep([&](std::chrono::milliseconds ms) { steps.push_back(ms.count()); });
  run("x = 1\nrepeat with i = 1 to 5\n  y = i\nend repeat\non f\n  wait(30)\n  wait(-5)\nend\nf()"
      "\nwait(2.6)");
  EXPECT_EQ(steps, (std::vector<long>{0, 0, 30, 0, 0, 2, 0}));
}

// The message window runs each line it reads as a run of its own: variables and handlers stay
// from run to run, but what stopped one run (an error, halt, quit, the step limit) must not stop
// the next. It ends when a script quits; a movie stops as for halt.
TEST_F(InterpreterTest, RunsKeepVariablesAndHandlersButNotWhatStoppedThem) {
  run("x = [1]\non twice n\n  return n * 2\nend");
  EXPECT_EQ(run("append(x, 2)\nput x, twice(4)"), "-- [1, 2] 8\n");
  run("on twice n\n  return n * 3\nend");
  EXPECT_EQ(run("put twice(4)"), "-- 12\n");
  EXPECT_EQ(formatValue(interpreter_->global("X")), "[1, 2]");
  EXPECT_TRUE(interpreter_->global("unset").isVoid());
  run("on down n\n  if n = 0 then return 0\n  return down(n - 1)\nend");
  EXPECT_EQ(errorOf("put down(100000)").line(), 3);
  // The depth count unwound with the error: a deep but finite recursion still works.
  EXPECT_EQ(run("put down(400)"), "-- 0\n");
  for (const std::string command : {"halt", "quit"}) {
    EXPECT_EQ(run("on f\n  put 1\n  " + command + "\n  put 2\nend\nf()\nput 3"), "-- 1\n");
    EXPECT_TRUE(interpreter_->halted());
    EXPECT_EQ(interpreter_->quitRequested(), command == "quit");
    EXPECT_EQ(run("put 4"), "-- 4\n");
    EXPECT_FALSE(interpreter_->halted());
    EXPECT_FALSE(interpreter_->quitRequested());
  }
  interpreter_->setStepLimit(1000);
  EXPECT_STREQ(errorOf("repeat while 1\nend repeat").what(),
               "The script ran past its limit of 1000 steps");
  EXPECT_EQ(run("put 1 + 1"), "-- 2\n");
}

// Limits lowered so that what the real ones stop (a 2 GB string, a list of 16 million) is cheap
// to reach; they are process-wide, so each test puts them back.
class LoweredLimits : public ScriptRunner {
 protected:
  LoweredLimits() { setValueLimits({.maxStringLength = 1000, .maxListGrowth = 100}); }
  ~LoweredLimits() override { setValueLimits(ValueLimits{}); }
};

TEST_F(LoweredLimits, RefuseTextAndListsPastThemBeforeMakingThem) {
  const std::pair<const char*, const char*> cases[] = {
      {"s = \"x\"\nrepeat while 1\n  s = s & s\nend repeat",
       "String too long: 1024 bytes (at most 1000)"},
      {"s = \"x\"\nrepeat while 1\n  s = s && s\nend repeat",
       "String too long: 1023 bytes (at most 1000)"},
      {"s = \"x\"\nrepeat while 1\n  put s after s\nend repeat",
       "String too long: 1024 bytes (at most 1000)"},
      // A list that shares itself doubles its text at each level without using memory.
      {"l = [0]\nrepeat with i = 1 to 40\n  l = [l, l]\nend repeat\nput l",
       "String too long: 1001 bytes (at most 1000)"},
      {"setAt([], 101, 1)", "setAt: index 101 is too large"},
  };
  for (const auto& [script, message] : cases) EXPECT_STREQ(errorOf(script).what(), message);
  // Comparing and copying that list meet each list once, however often it is shared.
  EXPECT_EQ(run("m = duplicate(l)\nput m = l, l = [[0]]"), "-- 1 0\n");
}

// The stack check measures the stack it runs on, so on a small one a script within every other
// limit stops with a script error instead of overflowing it, and the interpreter runs on. Script
// values stay on the thread that made them, so the interpreter lives on the small stack too.
TEST(InterpreterStack, StopsBeforeASmallStackOverflows) {
  std::string message;
  std::ostringstream out;
  runWithStack(std::size_t{2} << 20, [&] {
    Interpreter interpreter(out);
    try {
      interpreter.run(
          "on wrap n\n  if n = 0 then return 0\n  return [[[[[[[[[[wrap(n - 1)]]]]]]]]]]\nend");
      interpreter.run("x = wrap(499)");
    } catch (const ScriptError& error) {
      message = error.what();
    }
    interpreter.run("put count(wrap(2))");
    return 0;
  });
  EXPECT_TRUE(message.starts_with("Handler calls and expressions nested too deeply for the stack"))
      << message;
  EXPECT_EQ(out.str(), "-- 1\n");
}

}  // namespace
}  // namespace tonvik
