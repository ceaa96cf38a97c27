// Running out of memory, in-process and in every build. AddressSanitizer's allocator aborts
// instead of failing and cannot run under `ulimit -v`, so this binary's operator new fails on
// request instead. The tool itself meets a real address-space limit in CrashingScriptsTest.
#include "Container.h"
#include "ReplacedNew.h"
#include "ScriptRunner.h"

using replacednew::failFrom;

namespace tonvik {
namespace {

using OutOfMemory = ScriptRunner;

// The errors are copies of one made at start-up, so catching them allocates nothing either.
TEST_F(OutOfMemory, IsAScriptErrorAndLettingGoAfterwardsNeedsNoMemory) {
  const std::size_t listsBefore = liveContainerCount();
  run("keep = [1, \"text\"]\nadd(keep, keep)\non f\n  return 1\nend");
  failFrom = std::size_t{64} << 20;
  const ScriptError growing = errorOf("s = \"x\"\nrepeat while 1\n  s = s & s\nend repeat");
  failFrom = 1;
  const ScriptError parsing = errorOf("put f()");
  // Dropping the variables, the cycle and the interpreter itself, with no memory at all.
  interpreter_.reset();
  failFrom = 0;
  EXPECT_STREQ(growing.what(), "Out of memory");
  EXPECT_EQ(growing.line(), 3);
  EXPECT_STREQ(parsing.what(), "Out of memory");
  EXPECT_EQ(parsing.line(), 0);
  EXPECT_EQ(liveContainerCount(), listsBefore);
  EXPECT_EQ(out_.str(), "");
}

}  // namespace
}  // namespace tonvik
