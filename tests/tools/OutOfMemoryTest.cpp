// Running out of memory, in-process and in every build. AddressSanitizer's allocator aborts
// instead of failing and cannot run under `ulimit -v`, so this binary's operator new fails on
// request instead. The tool itself meets a real address-space limit in CrashingScriptsTest.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <sstream>
#include <string>

#include "Container.h"
#include "Interpreter.h"
#include "ScriptError.h"

namespace {

// 0: nothing fails; else every allocation of at least this many bytes fails (1: all of them).
std::size_t failFrom = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (failFrom != 0 && size >= failFrom) throw std::bad_alloc();
  if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

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
