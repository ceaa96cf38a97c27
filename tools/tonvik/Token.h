// The tokens of a Lingo script.
#pragma once

#include <cstdint>
#include <string>

namespace tonvik {

enum class TokenKind {
  Identifier,  // names and keywords alike; the parser tells them apart, ignoring case
  Integer,
  Float,
  String,
  Symbol,
  Newline,
  EndOfText,
  LeftParen,
  RightParen,
  LeftBracket,
  RightBracket,
  Comma,
  Colon,
  Dot,
  Plus,
  Minus,
  Star,
  Slash,
  Ampersand,
  DoubleAmpersand,
  Equal,
  NotEqual,
  Less,
  Greater,
  LessEqual,
  GreaterEqual,
};

struct Token {
  TokenKind kind = TokenKind::EndOfText;
  // As written; for a string, its contents; for a symbol, the name without '#'.
  std::string text;
  int line = 0;
  std::int32_t integer = 0;
  double floating = 0.0;
};

}  // namespace tonvik
