// Running out of memory, in-process and in every build. AddressSanitizer's allocator aborts
// instead of failing and cannot run under `ulimit -v`, so this binary's operator new fails on
// request instead. The tool itself meets a real address-space limit in CrashingScriptsTest.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Container.h"
#include "Interpreter.h"
#include "ReplacedNew.h"
#include "ScriptError.h"

using replacednew::failFrom;

namespace tonvik {
namespace {

struct Failure {
  std::string message;
  int line = -1;
};

Failure failureOf(Interpreter& interpreter, const char* script) {
  try {
    interpreter.run(script);
  } catch (const ScriptError& error) {
    return {error.what(), error.line()};
  }
  return {};
}

TEST(OutOfMemory, IsAScriptErrorAndLettingGoAfterwardsNeedsNoMemory) {
  const std::size_t listsBefore = liveContainerCount();
  std::ostringstream out;
  Failure growing;
  Failure parsing;
  {
    Interpreter interpreter(out);
    interpreter.run("keep = [1, \"text\"]\nadd(keep, keep)\non f\n  return 1\nend");
    failFrom = std::size_t{64} << 20;
    growing = failureOf(interpreter, "s = \"x\"\nrepeat while 1\n  s = s & s\nend repeat");
    failFrom = 1;
    parsing = failureOf(interpreter, "put f()");
    // Dropping the variables, the cycle and the interpreter itself, with no memory at all.
  }
  failFrom = 0;
  EXPECT_EQ(growing.message, "Out of memory");
  EXPECT_EQ(growing.line, 3);
  EXPECT_EQ(parsing.message, "Out of memory");
  EXPECT_EQ(parsing.line, 0);
  EXPECT_EQ(liveContainerCount(), listsBefore);
  EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace tonvik
