#include "Parser.h"

#include <gtest/gtest.h>

#include "ScriptError.h"

namespace tonvik {
namespace {

// The message window reads on exactly when an error is marked incomplete, so that flag matters
// as much as the message and the line. The lexer's errors reach it the same way, and so does
// nesting that would exhaust the stack.
TEST(Parser, ReportsErrorsWithTheirLineAndCompleteness) {
  auto times = [](const std::string& text, int count) {
    std::string result;
    while (count-- > 0) result += text;
    return result;
  };
  struct Case {
    std::string text;
    std::string message;
    int line;
    bool incomplete;
  };
  const Case cases[] = {
      {"x = 1\nif x then\n  put 1\n", "Missing \"end if\"", 2, true},
      {"on f\n  put 1\n", "Missing \"end\" of handler \"f\"", 1, true},
      {"put [1,\n2", "Expected \",\" or \"]\", found end of script on line 2", 1, true},
      {"put (1", "Expected \")\", found end of script", 1, true},
      {"put 1 +", "Expected a value, found end of script", 1, true},
      {"put 1 +\n", "Expected a value, found end of line", 1, false},
      {"x = 1\nexit repeat", "\"exit repeat\" outside a repeat loop", 2, false},
      {"on a\nend\non A\nend", "Handler \"A\" is defined twice", 3, false},
      {"if 1 then\nelse\nelse\nend if", "\"else\" after the final \"else\"", 3, false},
      {"repeat with i = 1 to 3\nend if", "Expected \"end repeat\", found \"if\"", 2, false},
      {"on f\nend g", "Expected \"end\" or \"end f\", found \"g\"", 2, false},
      {"5 = x", "Expected a command, found \"5\"", 1, false},
      {"put 1 into 2", "Cannot put into this expression", 1, false},
      {"on f\n  on g\n  end\nend", "A handler cannot be defined inside a handler or block", 2,
       false},
      {"put the 5", "Expected a property name after \"the\", found \"5\"", 1, false},
      {"go to\n", "Expected a frame after \"go\", found end of line", 1, false},
      {"put [#a: 1, 2]", "Expected \":\" after a property name, found \"]\"", 1, false},
      {"repeat for i", "Expected \"while\" or \"with\" after \"repeat\", found \"for\"", 1, false},
      {"put 1\nthen = 2", "Unexpected \"then\"", 2, false},
      {"put 1\n\nput (1\n+ 2\nput 3", "Expected \")\", found \"put\" on line 5", 3, false},
      {"x\ny = \"open\nz", "String without its closing quote", 2, false},
      {"a @ b", "Unexpected character \"@\"", 1, false},
      {"a\n\xE2\x82\xAC", "Unexpected character 0xE2", 2, false},
      {"a\n\xEF\xBB\xBF", "Unexpected character 0xEF", 2, false},
      {"x = \"open\r", "String without its closing quote", 1, false},
      {"# a", "Symbol without a name after #", 1, false},
      {"12ab", "Malformed number", 1, false},
      {"put 1 \\ 2", "Text after a line continuation", 1, false},
      {"put 1 + \\", "Line continuation at the end of the script", 1, true},
      {"put " + std::string(10000, '(') + "1" + std::string(10000, ')'), "Script nested too deeply",
       1, false},
      {times("if 1 then\n", 5000), "Script nested too deeply", 100, false},
  };
  for (const Case& c : cases) {
    try {
      parseScript(c.text);
      ADD_FAILURE() << "no error for: " << c.text.substr(0, 40);
    } catch (const ScriptError& error) {
      SCOPED_TRACE(c.text.substr(0, 40));
      EXPECT_EQ(error.what(), c.message);
      EXPECT_EQ(error.line(), c.line);
      EXPECT_EQ(error.incomplete(), c.incomplete);
    }
  }
}

}  // namespace
}  // namespace tonvik
