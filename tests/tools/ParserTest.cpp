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
                    ErrorCase{"if x then", "Missing \"end if\"", 1, true},
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
        ErrorCase{"next repeat", "\"next repeat\" outside a repeat loop", 1, false},
        ErrorCase{"on a\nend\non A\nend", "Handler \"A\" is defined twice", 3, false},
        ErrorCase{"end if", "Unexpected \"end\"", 1, false},
        ErrorCase{"if 1 then\nelse\nelse\nend if", "\"else\" after the final \"else\"", 3, false},
        ErrorCase{"repeat with i = 1 to 3\nend if", "Expected \"end repeat\", found \"if\"", 2,
                  false},
        ErrorCase{"on f\nend g", "Expected \"end\" or \"end f\", found \"g\"", 2, false},
        ErrorCase{"5 = x", "Expected a command, found \"5\"", 1, false},
        ErrorCase{"x + 1", "Expected end of line, found \"+\"", 1, false},
        ErrorCase{"put 1 into 2", "Cannot put into this expression", 1, false},
        ErrorCase{"f() = 2", "Cannot assign to this expression", 1, false},
        ErrorCase{"on f\n  on g\n  end\nend",
                  "A handler cannot be defined inside a handler or block", 2, false},
        ErrorCase{"put the foo", "Unknown property \"the foo\"", 1, false},
        ErrorCase{"put [1 2]", "Expected \",\" or \"]\", found \"2\"", 1, false},
        ErrorCase{"put [#a: 1, 2]", "Expected \":\" after a property name, found \"]\"", 1, false},
        ErrorCase{"if = 1", "Expected a value, found \"=\"", 1, false},
        ErrorCase{"repeat for i", "Expected \"while\" or \"with\" after \"repeat\", found \"for\"",
                  1, false},
        ErrorCase{"put 1\nthen = 2", "Unexpected \"then\"", 2, false},
        ErrorCase{"put 1\n\nput (1\n+ 2\nput 3", "Expected \")\", found \"put\" on line 5", 3,
                  false}));

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

TEST(Parser, KeepsHandlersApartFromTopLevelStatements) {
  Script script = parseScript("put f()\non f a, b\n  return a\nend f\non G(x)\nend\nx = 1");
  ASSERT_EQ(script.handlers.size(), 2u);
  EXPECT_EQ(script.handlers[0]->name, "f");
  EXPECT_EQ(script.handlers[0]->params, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(script.handlers[1]->name, "g");
  EXPECT_EQ(script.handlers[1]->spelling, "G");
  EXPECT_EQ(script.handlers[1]->params, (std::vector<std::string>{"x"}));
  ASSERT_EQ(script.statements.size(), 2u);
  EXPECT_EQ(script.statements[1]->line, 7);
}

TEST(Parser, ChainsElseIfInsteadOfNesting) {
  Script script = parseScript(
      "if a then\n  x = 1\nelse if b then x = 2\n  y = 3\nelse if c then\n  x = 4\nelse\n"
      "  x = 5\nend if");
  ASSERT_EQ(script.statements.size(), 1u);
  const auto& ifStmt = std::get<IfStmt>(script.statements[0]->node);
  ASSERT_EQ(ifStmt.branches.size(), 3u);
  // A statement on the `then` line of a block branch is the first of that branch.
  EXPECT_EQ(ifStmt.branches[1].body.size(), 2u);
  EXPECT_EQ(ifStmt.otherwise.size(), 1u);
}

TEST(Parser, GivesAOneLineIfItsElseOnlyOnTheSameLine) {
  Script script = parseScript("if a then x = 1 else x = 2");
  const auto& ifStmt = std::get<IfStmt>(script.statements[0]->node);
  EXPECT_EQ(ifStmt.branches.size(), 1u);
  EXPECT_EQ(ifStmt.otherwise.size(), 1u);
  // On the next line, `else` belongs to the enclosing block if.
  Script nested = parseScript("if a then\n  if b then x = 1\nelse\n  x = 2\nend if");
  const auto& outer = std::get<IfStmt>(nested.statements[0]->node);
  EXPECT_EQ(outer.otherwise.size(), 1u);
  EXPECT_TRUE(std::get<IfStmt>(outer.branches[0].body[0]->node).otherwise.empty());
}

}  // namespace
}  // namespace tonvik
