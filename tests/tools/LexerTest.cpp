// Operators, comments and continuations as scripts use them are run by semantics.ls and
// arithmetic.ls, the lexer's errors by ParserTest, a byte order mark and CRLF line ends by
// CrashingScriptsTest; these are the line ends and brackets a script file cannot show.
#include "Lexer.h"

#include <gtest/gtest.h>

namespace tonvik {
namespace {

using K = TokenKind;

TEST(Lexer, SplitsLineEndsAndBracketsAsLingoDoes) {
  const std::pair<const char*, std::vector<TokenKind>> cases[] = {
      // Classic Mac OS line ends, and a continuation before a Windows one.
      {"a\rb", {K::Identifier, K::Newline, K::Identifier, K::EndOfText}},
      {"a \\\r\nb", {K::Identifier, K::Identifier, K::EndOfText}},
      // A stray closing bracket must not make later newlines disappear.
      {")\na", {K::RightParen, K::Newline, K::Identifier, K::EndOfText}},
      {"a \xC2\xAC -- why\n b", {K::Identifier, K::Identifier, K::EndOfText}},
  };
  for (const auto& [text, expected] : cases) {
    std::vector<TokenKind> kinds;
    for (const Token& token : tokenize(text)) kinds.push_back(token.kind);
    EXPECT_EQ(kinds, expected) << text;
  }
  EXPECT_EQ(tokenize("a\rb\r\nc").back().line, 3);
}

}  // namespace
}  // namespace tonvik
