#include "Lexer.h"

#include <cstdlib>
#include <limits>
#include <string>

#include "ScriptError.h"

namespace tonvik {

namespace {

// "¬" in UTF-8, Lingo's line continuation.
constexpr std::string_view kContinuationMark = "\xC2\xAC";
// Editors on Windows begin UTF-8 files with it; it is not part of the script.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isIdentifierStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isIdentifierPart(char c) {
  return isIdentifierStart(c) || isDigit(c);
}

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {
    if (text_.starts_with(kByteOrderMark)) pos_ = kByteOrderMark.size();
  }

  std::vector<Token> run() {
    while (pos_ < text_.size()) step();
    push(TokenKind::EndOfText, "");
    return std::move(tokens_);
  }

 private:
  char peek(std::size_t ahead = 0) const {
    return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0';
  }

  void push(TokenKind kind, std::string text) {
    Token token;
    token.kind = kind;
    token.text = std::move(text);
    token.line = line_;
    tokens_.push_back(std::move(token));
  }

  void step() {
    char c = peek();
    if (c == ' ' || c == '\t' || (c == '\r' && peek(1) == '\n')) {
      ++pos_;
    } else if (isLineEnd(c)) {
      ++pos_;
      if (nesting_ == 0) push(TokenKind::Newline, "\n");
      ++line_;
    } else if (c == '-' && peek(1) == '-') {
      skipComment();
    } else if (c == '\\' || text_.substr(pos_, kContinuationMark.size()) == kContinuationMark) {
      continueLine(c == '\\' ? 1 : kContinuationMark.size());
    } else if (isDigit(c)) {
      number();
    } else if (isIdentifierStart(c)) {
      std::size_t start = pos_;
      while (isIdentifierPart(peek())) ++pos_;
      push(TokenKind::Identifier, std::string(text_.substr(start, pos_ - start)));
    } else if (c == '"') {
      string();
    } else if (c == '#') {
      symbol();
    } else {
      punctuation(c);
    }
  }

  // Lines end in LF, CR LF (Windows) or a lone CR (classic Mac OS, where Director began).
  static bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

  void skipComment() {
    while (pos_ < text_.size() && !isLineEnd(peek())) ++pos_;
  }

  // The rest of the line after a continuation mark may hold only blanks and a comment.
  void continueLine(std::size_t markLength) {
    pos_ += markLength;
    while (peek() == ' ' || peek() == '\t') ++pos_;
    if (peek() == '-' && peek(1) == '-') skipComment();
    if (pos_ >= text_.size()) {
      ScriptError error("Line continuation at the end of the script", line_);
      error.setIncomplete();
      throw error;
    }
    if (!isLineEnd(peek())) throw ScriptError("Text after a line continuation", line_);
    pos_ += peek() == '\r' && peek(1) == '\n' ? 2 : 1;
    ++line_;
  }

  void number() {
    std::size_t start = pos_;
    bool isFloat = false;
    while (isDigit(peek())) ++pos_;
    if (peek() == '.' && isDigit(peek(1))) {
      isFloat = true;
      ++pos_;
      while (isDigit(peek())) ++pos_;
    }
    if ((peek() == 'e' || peek() == 'E') &&
        (isDigit(peek(1)) || ((peek(1) == '+' || peek(1) == '-') && isDigit(peek(2))))) {
      isFloat = true;
      pos_ += 2;
      while (isDigit(peek())) ++pos_;
    }
    if (isIdentifierStart(peek())) throw ScriptError("Malformed number", line_);
    std::string digits(text_.substr(start, pos_ - start));
    double value = std::strtod(digits.c_str(), nullptr);
    // Integers too large for Lingo's 32 bits read as floats, as Director reads them.
    if (!isFloat && value <= std::numeric_limits<std::int32_t>::max()) {
      push(TokenKind::Integer, digits);
      tokens_.back().integer = static_cast<std::int32_t>(std::strtol(digits.c_str(), nullptr, 10));
    } else {
      push(TokenKind::Float, digits);
      tokens_.back().floating = value;
    }
  }

  void string() {
    std::size_t start = ++pos_;
    while (pos_ < text_.size() && peek() != '"' && !isLineEnd(peek())) ++pos_;
    if (peek() != '"') throw ScriptError("String without its closing quote", line_);
    push(TokenKind::String, std::string(text_.substr(start, pos_ - start)));
    ++pos_;
  }

  void symbol() {
    std::size_t start = ++pos_;
    if (!isIdentifierStart(peek())) throw ScriptError("Symbol without a name after #", line_);
    while (isIdentifierPart(peek())) ++pos_;
    push(TokenKind::Symbol, std::string(text_.substr(start, pos_ - start)));
  }

  void punctuation(char c) {
    struct Spelling {
      std::string_view text;
      TokenKind kind;
    };
    // Longer spellings first, so that "<=" is not read as "<" and "=".
    static constexpr Spelling kSpellings[] = {
        {"&&", TokenKind::DoubleAmpersand},
        {"<>", TokenKind::NotEqual},
        {"<=", TokenKind::LessEqual},
        {">=", TokenKind::GreaterEqual},
        {"&", TokenKind::Ampersand},
        {"<", TokenKind::Less},
        {">", TokenKind::Greater},
        {"=", TokenKind::Equal},
        {"+", TokenKind::Plus},
        {"-", TokenKind::Minus},
        {"*", TokenKind::Star},
        {"/", TokenKind::Slash},
        {"(", TokenKind::LeftParen},
        {")", TokenKind::RightParen},
        {"[", TokenKind::LeftBracket},
        {"]", TokenKind::RightBracket},
        {",", TokenKind::Comma},
        {":", TokenKind::Colon},
        {".", TokenKind::Dot},
    };
    for (const Spelling& spelling : kSpellings) {
      if (text_.substr(pos_, spelling.text.size()) != spelling.text) continue;
      push(spelling.kind, std::string(spelling.text));
      pos_ += spelling.text.size();
      if (spelling.kind == TokenKind::LeftParen || spelling.kind == TokenKind::LeftBracket) {
        ++nesting_;
      } else if ((spelling.kind == TokenKind::RightParen ||
                  spelling.kind == TokenKind::RightBracket) &&
                 nesting_ > 0) {
        --nesting_;
      }
      return;
    }
    unexpected(c);
  }

  [[noreturn]] void unexpected(char c) {
    std::string shown;
    if (static_cast<unsigned char>(c) >= ' ' && static_cast<unsigned char>(c) < 0x7F) {
      shown = std::string("\"") + c + "\"";
    } else {
      static constexpr char kHex[] = "0123456789ABCDEF";
      auto byte = static_cast<unsigned char>(c);
      shown = std::string("0x") + kHex[byte >> 4] + kHex[byte & 0xF];
    }
    throw ScriptError("Unexpected character " + shown, line_);
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  int line_ = 1;
  int nesting_ = 0;
  std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> tokenize(std::string_view text) {
  return Lexer(text).run();
}

}  // namespace tonvik
