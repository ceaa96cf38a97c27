// Scripts that once ended the message window with a signal, run by the tool as a user runs it.
// Each ends with the right answer and status 0, or with a script error that names what was too
// deep or too large and status 1: never a signal, a sanitizer report, a leak, or a list or Xtra
// value left at exit (the tool reports those on standard error, which must then be empty).
#include <regex>
#include <string>

#include "ToolProcess.h"

namespace {

using namespace tonvik::testing;

// The longest a row may take (a 1 GB string under AddressSanitizer) before it counts as hung.
constexpr std::chrono::seconds kLongestRun{500};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitized = true;
#else
constexpr bool kThreadSanitized = false;
#endif

// What a row needs from the machine beyond the tool.
enum class Needs {
  Nothing,
  // An address-space limit (`ulimit -v`), which no sanitizer runtime starts under: its shadow
  // memory alone is larger. OutOfMemoryTest meets the same failure in-process in every build.
  AddressSpaceLimit,
  // About 1.6 GB of memory for a 1 GB string, and not ThreadSanitizer's shadow of it.
  LargeMemory,
};

constexpr rlim_t kAddressSpaceLimit = rlim_t{1500000} * 1024;
constexpr long kLargeMemoryKilobytes = 4L << 20;

struct Row {
  std::string name;
  std::string script;
  int status = 0;
  std::string out;
  std::string err;
  Needs needs = Needs::Nothing;
  // When set, standard error must match it instead of `err`.
  std::string errPattern = {};
};

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

// `count` terms with `separator` between them.
std::string joined(const std::string& term, const std::string& separator, int count) {
  return term + repeated(separator + term, count - 1);
}

std::string error(int line, const std::string& message) {
  return "Script error: " + message + " (" + kScriptName + ":" + std::to_string(line) + ")\n";
}

std::vector<Row> rows() {
  const std::string recursion =
      "on f n\n  if n = 0 then return 0\n  return f(n - 1)" + repeated(" + 1", 80) + "\nend\n";
  const std::string nest = "l = []\nrepeat with i = 1 to 60000\n  l = [l]\nend repeat\n";
  const std::string doubling = "s = \"x\"\nrepeat with i = 1 to 30\n  s = s & s\nend repeat\n";
  // 500 calls, each with expressions nested as deep as the parser allows, fit the tool's stack,
  // except under the sanitizers, whose script stacks are smaller (ScriptThread.h).
  const std::string deepest = "on f n\n  if n = 0 then return 0\n  return " + repeated("[", 95) +
                              "f(n - 1)" + repeated("]", 95) + "\nend\nput count(f(499))\n";
  const char* tooDeepForTheStack =
      "Script error: Handler calls and expressions nested too deeply for the stack "
      "\\([0-9]+ calls deep\\) \\(script\\.ls:3\\)\n";
  // Laid out by hand: clang-format would give every field of a row a line of its own.
  // clang-format off
  return {
    {"SumOf50000Terms", "put " + joined("1", "+", 50000) + "\n", 0, "-- 50000\n", ""},
    {"ConcatenationOf50000Terms", "put " + joined("\"a\"", " & ", 50000) + "\n", 0,
     "-- \"" + std::string(50000, 'a') + "\"\n", ""},
    {"AndOf50000Terms", "put " + joined("1", " and ", 50000) + "\n", 0, "-- 1\n", ""},
    {"IndexOf50000Terms", "l = [0]\nl[1] = l\nput l" + repeated("[1]", 50000) + "\n", 0,
     "-- [[...]]\n", ""},
    {"PropertyOf50000Terms", "x = 5\nput x" + repeated(".ilk", 50000) + "\n", 0, "-- #symbol\n",
     ""},
    {"BranchNeverRunOf300000Terms", "if 0 then put " + joined("1", "+", 300000) + "\n", 0, "", ""},
    {"Recursion450DeepWith80Terms", recursion + "put f(450)\n", 0, "-- 36000\n", ""},
    {"RecursionPastTheCallLimit", recursion + "put f(100000)\n", 1, "",
     error(3, "Handlers nested too deeply (more than 500 calls) in f")},
    {"RecursionAtTheCallLimitNestedAtTheParserLimit", deepest, kSanitized ? 1 : 0,
     kSanitized ? "" : "-- 1\n", "", Needs::Nothing, kSanitized ? tooDeepForTheStack : ""},
    {"ListNested60000DeepPrintedComparedCopied", nest + "put string(l)\nput duplicate(l) = l\n", 0,
     "-- \"" + repeated("[", 60001) + repeated("]", 60001) + "\"\n-- 1\n", ""},
    {"ListNested200000DeepFreed",
     "l = []\nrepeat with i = 1 to 200000\n  l = [l]\nend repeat\nl = 0\nput l\n", 0, "-- 0\n", ""},
    {"CyclesHoldingAnOpenInstance",
     "on f\n  m = new(xtra \"Tonvik\")\n  m.Init()\n  put m.OpenInput(1, 1024)\n"
     "  l = [m]\n  add(l, l)\nend\nf()\nput hostLiveValues()\nl = [1]\nadd(l, l)\nl = 0\n",
     0, "-- [#code: 0, #text: \"No error\"]\n-- 0\n", ""},
    {"OutOfMemoryWithAnOpenInstance",
     "m = new(xtra \"Tonvik\")\nm.Init()\nl = [m]\nadd(l, l)\nm = 0\ns = \"x\"\n"
     "repeat while 1\n  s = s & s\nend repeat\n",
     1, "", error(8, "Out of memory"), Needs::AddressSpaceLimit},
    {"StringOf2Pow31Bytes", doubling + "put length(s)\nput length(s & s)\n", 1, "-- 1073741824\n",
     error(6, "String too long: 2147483648 bytes (at most 2147483647)"), Needs::LargeMemory},
    {"ByteOrderMarkAndCrLf", "\xEF\xBB\xBFput 1\r\nput 2\r\n", 0, "-- 1\n-- 2\n", ""},
  };
  // clang-format on
}

long availableKilobytes() {
  const std::string meminfo = slurp("/proc/meminfo");
  const std::size_t at = meminfo.find("MemAvailable:");
  return at == std::string::npos ? 0 : std::stol(meminfo.substr(at + 13));
}

class CrashingScripts : public testing::TestWithParam<Row> {};

TEST_P(CrashingScripts, EndWithTheAnswerOrAScriptError) {
  const Row& row = GetParam();
  if (row.needs == Needs::AddressSpaceLimit && kSanitized) {
    GTEST_SKIP() << "a sanitizer's shadow memory does not fit under an address-space limit";
  }
  if (row.needs == Needs::LargeMemory &&
      (kThreadSanitized || availableKilobytes() < kLargeMemoryKilobytes)) {
    GTEST_SKIP() << "needs 4 GB of available memory, without ThreadSanitizer's shadow of it";
  }
  ToolProcess tool(row.script,
                   row.needs == Needs::AddressSpaceLimit ? kAddressSpaceLimit : RLIM_INFINITY);
  Outcome outcome = tool.finish(kLongestRun);
  ASSERT_TRUE(WIFEXITED(outcome.rawStatus))
      << "ended by signal " << WTERMSIG(outcome.rawStatus) << "\n"
      << outcome.err;
  EXPECT_EQ(WEXITSTATUS(outcome.rawStatus), row.status) << outcome.err;
  EXPECT_EQ(outcome.out.substr(0, 300), row.out.substr(0, 300));
  EXPECT_EQ(outcome.out, row.out) << "(the whole output differs)";
  if (row.errPattern.empty()) {
    EXPECT_EQ(outcome.err, row.err);
  } else {
    EXPECT_TRUE(std::regex_match(outcome.err, std::regex(row.errPattern))) << outcome.err;
  }
}

INSTANTIATE_TEST_SUITE_P(MessageWindow, CrashingScripts, testing::ValuesIn(rows()),
                         [](const testing::TestParamInfo<Row>& info) { return info.param.name; });

}  // namespace
