#include "Parser.h"

#include <gtest/gtest.h>

#include "ScriptError.h"

namespace tonvik {
namespace {

struct ErrorCase {
  std::string text;
  std::string message;
  int line;
  bool incomplete;
};

class ParserErrors : public testing::TestWithParam<ErrorCase> {};

// The message window reads on exactly when an error is marked incomplete, so that flag matters
// as much as the message and the line.
TEST_P(ParserErrors, ReportMessageLineAndCompleteness) {
  const ErrorCase& c = GetParam();
  try {
    parseScript(c.text);
    FAIL() << "no error for: " << c.text;
  } catch (const ScriptError& error) {
    EXPECT_EQ(error.what(), c.message) << c.text;
    EXPECT_EQ(error.line(), c.line) << c.text;
    EXPECT_EQ(error.incomplete(), c.incomplete) << c.text;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Incomplete, ParserErrors,
    testing::Values(ErrorCase{"x = 1\nif x then\n  put 1\n", "Missing \"end if\"", 2, true},
                    ErrorCase{"repeat while 1\n", "Missing \"end repeat\"", 1, true},
                    ErrorCase{"on f\n  put 1\n", "Missing \"end\" of handler \"f\"", 1, true},
                    ErrorCase{"put [1,\n2",
                              "Expected \",\" or \"]\", found end of script on line 2", 1, true},
                    ErrorCase{"put (1", "Expected \")\", found end of script", 1, true},
                    ErrorCase{"put 1 +", "Expected a value, found end of script", 1, true}));

INSTANTIATE_TEST_SUITE_P(
    Wrong, ParserErrors,
    testing::Values(
        ErrorCase{"put 1 +\n", "Expected a value, found end of line", 1, false},
        ErrorCase{"x = 1\nexit repeat", "\"exit repeat\" outside a repeat loop", 2, false},
        ErrorCase{"on a\nend\non A\nend", "Handler \"A\" is defined twice", 3, false},
        ErrorCase{"if 1 then\nelse\nelse\nend if", "\"else\" after the final \"else\"", 3, false},
        ErrorCase{"repeat with i = 1 to 3\nend if", "Expected \"end repeat\", found \"if\"", 2,
                  false},
        ErrorCase{"on f\nend g", "Expected \"end\" or \"end f\", found \"g\"", 2, false},
        ErrorCase{"5 = x", "Expected a command, found \"5\"", 1, false},
        ErrorCase{"put 1 into 2", "Cannot put into this expression", 1, false},
        ErrorCase{"on f\n  on g\n  end\nend",
                  "A handler cannot be defined inside a handler or block", 2, false},
        ErrorCase{"put the foo", "Unknown property \"the foo\"", 1, false},
        ErrorCase{"put [#a: 1, 2]", "Expected \":\" after a property name, found \"]\"", 1, false},
        ErrorCase{"repeat for i", "Expected \"while\" or \"with\" after \"repeat\", found \"for\"",
                  1, false},
        ErrorCase{"put 1\nthen = 2", "Unexpected \"then\"", 2, false},
        ErrorCase{"put 1\n\nput (1\n+ 2\nput 3", "Expected \")\", found \"put\" on line 5", 3,
                  false}));

// The lexer's errors reach the message window the same way.
INSTANTIATE_TEST_SUITE_P(
    Lexical, ParserErrors,
    testing::Values(ErrorCase{"x\ny = \"open\nz", "String without its closing quote", 2, false},
                    ErrorCase{"a @ b", "Unexpected character \"@\"", 1, false},
                    ErrorCase{"a\n\xE2\x82\xAC", "Unexpected character 0xE2", 2, false},
                    ErrorCase{"a\n\xEF\xBB\xBF", "Unexpected character 0xEF", 2, false},
                    ErrorCase{"x = \"open\r", "String without its closing quote", 1, false},
                    ErrorCase{"# a", "Symbol without a name after #", 1, false},
                    ErrorCase{"12ab", "Malformed number", 1, false},
                    ErrorCase{"put 1 \\ 2", "Text after a line continuation", 1, false},
                    ErrorCase{"put 1 + \\", "Line continuation at the end of the script", 1,
                              true}));

TEST(Parser, RefusesNestingThatWouldExhaustTheStack) {
  std::string deep = "put " + std::string(10000, '(') + "1" + std::string(10000, ')');
  try {
    parseScript(deep);
    FAIL();
  } catch (const ScriptError& error) {
    EXPECT_STREQ(error.what(), "Script nested too deeply");
  }
  std::string blocks;
  for (int i = 0; i < 5000; ++i) blocks += "if 1 then\n";
  EXPECT_THROW(parseScript(blocks), ScriptError);
}

}  // namespace
}  // namespace tonvik
