#include "Lexer.h"

#include <gtest/gtest.h>

#include "ScriptError.h"

namespace tonvik {
namespace {

std::vector<TokenKind> kindsOf(std::string_view text) {
  std::vector<TokenKind> kinds;
  for (const Token& token : tokenize(text)) kinds.push_back(token.kind);
  return kinds;
}

using K = TokenKind;

struct KindsCase {
  const char* text;
  std::vector<TokenKind> kinds;
};

class LexerKinds : public testing::TestWithParam<KindsCase> {};

TEST_P(LexerKinds, SplitsAsLingoDoes) {
  EXPECT_EQ(kindsOf(GetParam().text), GetParam().kinds);
}

// Operators, comments and continuations as scripts use them are run by semantics.ls and
// arithmetic.ls; these are the line ends and brackets a script file cannot show.
INSTANTIATE_TEST_SUITE_P(
    Cases, LexerKinds,
    testing::Values(KindsCase{"a\r\nb", {K::Identifier, K::Newline, K::Identifier, K::EndOfText}},
                    // A stray closing bracket must not make later newlines disappear.
                    KindsCase{")\na", {K::RightParen, K::Newline, K::Identifier, K::EndOfText}},
                    KindsCase{"a \xC2\xAC -- why\n b",
                              {K::Identifier, K::Identifier, K::EndOfText}}));

struct ErrorCase {
  const char* text;
  const char* message;
  int line;
  bool incomplete;
};

class LexerErrors : public testing::TestWithParam<ErrorCase> {};

TEST_P(LexerErrors, NameTheLine) {
  try {
    tokenize(GetParam().text);
    FAIL() << "no error for " << GetParam().text;
  } catch (const ScriptError& error) {
    EXPECT_STREQ(error.what(), GetParam().message);
    EXPECT_EQ(error.line(), GetParam().line);
    EXPECT_EQ(error.incomplete(), GetParam().incomplete);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LexerErrors,
    testing::Values(ErrorCase{"x\ny = \"open\nz", "String without its closing quote", 2, false},
                    ErrorCase{"a @ b", "Unexpected character \"@\"", 1, false},
                    ErrorCase{"a\n\xE2\x82\xAC", "Unexpected character 0xE2", 2, false},
                    ErrorCase{"# a", "Symbol without a name after #", 1, false},
                    ErrorCase{"12ab", "Malformed number", 1, false},
                    ErrorCase{"put 1 \\ 2", "Text after a line continuation", 1, false},
                    ErrorCase{"put 1 + \\", "Line continuation at the end of the script", 1,
                              true}));

}  // namespace
}  // namespace tonvik
