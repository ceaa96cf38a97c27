#include "Parser.h"

#include <initializer_list>
#include <set>

#include "CaseFold.h"
#include "Lexer.h"
#include "Limits.h"
#include "ScriptError.h"
#include "StackLimit.h"

namespace tonvik {

namespace {

// Words that cannot name a variable or a handler.
const std::set<std::string, std::less<>> kReservedWords = {
    "if", "then", "else", "end", "repeat", "exit", "return",   "put",    "set",  "global",
    "on", "and",  "or",   "not", "mod",    "the",  "contains", "starts", "into", "halt",
};

std::string describe(const Token& token) {
  switch (token.kind) {
    case TokenKind::Newline:
      return "end of line";
    case TokenKind::EndOfText:
      return "end of script";
    case TokenKind::String:
      return "string \"" + token.text + "\"";
    case TokenKind::Symbol:
      return "#" + token.text;
    default:
      return "\"" + token.text + "\"";
  }
}

class Parser {
 public:
  explicit Parser(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

  Script parse() {
    Script script;
    std::set<std::string, std::less<>> handlerNames;
    while (true) {
      skipNewlines();
      if (peek().kind == TokenKind::EndOfText) break;
      if (atKeyword("on")) {
        auto handler = parseHandler();
        if (!handlerNames.insert(handler->name).second) {
          throw ScriptError("Handler \"" + handler->spelling + "\" is defined twice",
                            handler->line);
        }
        script.handlers.push_back(std::move(handler));
      } else {
        script.statements.push_back(parseStatement());
      }
      expectLineEnd();
    }
    return script;
  }

 private:
  class NestingGuard {
   public:
    // Deeper nesting than the limit (of expressions or blocks) is refused rather than risking the
    // stack; the stack is checked too, for a thread with a small one.
    explicit NestingGuard(Parser& parser) : parser_(parser) {
      if (++parser_.nesting_ > kMaxSyntaxNesting) {
        parser_.fail("Script nested too deeply", parser_.peek());
      }
      checkStack("Script nested too deeply");
    }
    ~NestingGuard() { --parser_.nesting_; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;

   private:
    Parser& parser_;
  };

  // ---- tokens

  const Token& peek(std::size_t ahead = 0) const {
    std::size_t index = std::min(pos_ + ahead, tokens_.size() - 1);
    return tokens_[index];
  }

  const Token& advance() {
    const Token& token = tokens_[pos_];
    if (pos_ + 1 < tokens_.size()) ++pos_;
    return token;
  }

  bool at(TokenKind kind) const { return peek().kind == kind; }

  bool isKeyword(const Token& token, std::string_view word) const {
    return token.kind == TokenKind::Identifier && equalsFolded(token.text, word);
  }

  bool atKeyword(std::string_view word) const { return isKeyword(peek(), word); }

  bool atLineEnd() const { return at(TokenKind::Newline) || at(TokenKind::EndOfText); }

  [[noreturn]] void fail(const std::string& message, const Token& where) const {
    ScriptError error(message, where.line);
    if (where.kind == TokenKind::EndOfText) error.setIncomplete();
    throw error;
  }

  [[noreturn]] void unexpected(const std::string& wanted) const {
    std::string message = "Expected " + wanted + ", found " + describe(peek());
    fail(message, peek());
  }

  void expect(TokenKind kind, const std::string& wanted) {
    if (!at(kind)) unexpected(wanted);
    advance();
  }

  // A closing bracket. Newlines inside brackets do not end the statement, so a missing one is
  // noticed lines later; the error names the line where the bracket was opened.
  void expectCloser(TokenKind kind, const std::string& wanted, int openLine) {
    if (at(kind)) {
      advance();
      return;
    }
    std::string message = "Expected " + wanted + ", found " + describe(peek());
    if (peek().line != openLine) message += " on line " + std::to_string(peek().line);
    ScriptError error(message, openLine);
    if (at(TokenKind::EndOfText)) error.setIncomplete();
    throw error;
  }

  void expectKeyword(std::string_view word) {
    if (!atKeyword(word)) unexpected("\"" + std::string(word) + "\"");
    advance();
  }

  void expectLineEnd() {
    if (!atLineEnd()) unexpected("end of line");
    if (at(TokenKind::Newline)) advance();
  }

  void skipNewlines() {
    while (at(TokenKind::Newline)) advance();
  }

  std::string expectName(const std::string& what) {
    if (!at(TokenKind::Identifier) || kReservedWords.count(foldCase(peek().text)) != 0) {
      unexpected(what);
    }
    return advance().text;
  }

  // ---- handlers and blocks

  std::shared_ptr<const Handler> parseHandler() {
    auto handler = std::make_shared<Handler>();
    handler->line = advance().line;
    handler->spelling = expectName("a handler name after \"on\"");
    handler->name = foldCase(handler->spelling);
    bool parenthesised = at(TokenKind::LeftParen);
    int openLine = peek().line;
    if (parenthesised) advance();
    if (!atLineEnd() && !at(TokenKind::RightParen)) {
      handler->params.push_back(foldCase(expectName("a parameter name")));
      while (at(TokenKind::Comma)) {
        advance();
        handler->params.push_back(foldCase(expectName("a parameter name")));
      }
    }
    if (parenthesised) expectCloser(TokenKind::RightParen, "\")\"", openLine);
    expectLineEnd();
    handler->body =
        parseBlock({"end"}, "\"end\" of handler \"" + handler->spelling + "\"", handler->line);
    advance();
    if (!atLineEnd()) {
      if (!(at(TokenKind::Identifier) && equalsFolded(peek().text, handler->spelling))) {
        unexpected("\"end\" or \"end " + handler->spelling + "\"");
      }
      advance();
    }
    return handler;
  }

  // Statements up to a line that starts with one of `terminators`, which is left unread.
  Block parseBlock(std::initializer_list<std::string_view> terminators, const std::string& missing,
                   int openLine) {
    NestingGuard guard(*this);
    Block block;
    while (true) {
      skipNewlines();
      if (at(TokenKind::EndOfText)) {
        ScriptError error("Missing " + missing, openLine);
        error.setIncomplete();
        throw error;
      }
      for (std::string_view terminator : terminators) {
        if (atKeyword(terminator)) return block;
      }
      block.push_back(parseStatement());
      expectLineEnd();
    }
  }

  void expectEnd(std::string_view what) {
    expectKeyword("end");
    if (!atKeyword(what)) unexpected("\"end " + std::string(what) + "\"");
    advance();
  }

  // ---- statements

  StmtPtr makeStmt(int line, auto node) {
    auto stmt = std::make_unique<Stmt>();
    stmt->line = line;
    stmt->node = std::move(node);
    return stmt;
  }

  StmtPtr parseStatement() {
    NestingGuard guard(*this);
    const Token& first = peek();
    int line = first.line;
    if (first.kind == TokenKind::Identifier) {
      std::string word = foldCase(first.text);
      if (word == "if") return parseIf();
      if (word == "repeat") return parseRepeat();
      if (word == "put") return parsePut();
      if (word == "set") return parseSet();
      if (word == "return") {
        advance();
        ReturnStmt stmt;
        if (!atLineEnd() && !atKeyword("else")) stmt.value = parseExpression();
        return makeStmt(line, std::move(stmt));
      }
      if (word == "exit") {
        advance();
        if (!atKeyword("repeat")) return makeStmt(line, ExitStmt{});
        if (loopDepth_ == 0) fail("\"exit repeat\" outside a repeat loop", first);
        advance();
        return makeStmt(line, ExitRepeatStmt{});
      }
      if (word == "next" && isKeyword(peek(1), "repeat")) {
        if (loopDepth_ == 0) fail("\"next repeat\" outside a repeat loop", first);
        advance();
        advance();
        return makeStmt(line, NextRepeatStmt{});
      }
      if (word == "global") {
        advance();
        GlobalStmt stmt;
        stmt.names.push_back(foldCase(expectName("a variable name")));
        while (at(TokenKind::Comma)) {
          advance();
          stmt.names.push_back(foldCase(expectName("a variable name")));
        }
        return makeStmt(line, std::move(stmt));
      }
      if (word == "halt") {
        advance();
        return makeStmt(line, HaltStmt{});
      }
      if (word == "on") fail("A handler cannot be defined inside a handler or block", first);
      if (kReservedWords.count(word) != 0) fail("Unexpected " + describe(first), first);
      return parseCommandOrAssignment();
    }
    fail("Expected a command, found " + describe(first), first);
  }

  bool isAssignable(const Expr& expr) const {
    return std::holds_alternative<VariableExpr>(expr.node) ||
           std::holds_alternative<IndexExpr>(expr.node) ||
           std::holds_alternative<PropertyExpr>(expr.node);
  }

  // A token that can open an argument of a command written without parentheses.
  bool startsArgument(const Token& token) const {
    switch (token.kind) {
      case TokenKind::Integer:
      case TokenKind::Float:
      case TokenKind::String:
      case TokenKind::Symbol:
      case TokenKind::Minus:
        return true;
      case TokenKind::Identifier: {
        std::string word = foldCase(token.text);
        return kReservedWords.count(word) == 0 || word == "not" || word == "the";
      }
      default:
        return false;
    }
  }

  StmtPtr parseCommandOrAssignment() {
    int line = peek().line;
    ExprPtr target = parsePostfix();
    if (at(TokenKind::Equal)) {
      if (!isAssignable(*target)) throw ScriptError("Cannot assign to this expression", line);
      advance();
      return makeStmt(line, AssignStmt{std::move(target), parseExpression()});
    }
    if (auto* variable = std::get_if<VariableExpr>(&target->node)) {
      // `name` or `name arg, arg`: a command, Lingo's call without parentheses.
      CallExpr call{variable->name, variable->spelling, {}};
      if (startsArgument(peek())) call.args = parseArguments();
      return makeStmt(line, CallStmt{makeExpr(line, std::move(call))});
    }
    if (std::holds_alternative<CallExpr>(target->node) ||
        std::holds_alternative<MethodCallExpr>(target->node)) {
      return makeStmt(line, CallStmt{std::move(target)});
    }
    unexpected("\"=\" after the expression");
  }

  ExprList parseArguments() {
    ExprList args;
    args.push_back(parseExpression());
    while (at(TokenKind::Comma)) {
      advance();
      args.push_back(parseExpression());
    }
    return args;
  }

  StmtPtr parseSet() {
    int line = advance().line;
    ExprPtr target = parsePostfix();
    if (!isAssignable(*target)) throw ScriptError("Cannot assign to this expression", line);
    if (at(TokenKind::Equal)) {
      advance();
    } else if (atKeyword("to")) {
      advance();
    } else {
      unexpected("\"=\" or \"to\"");
    }
    return makeStmt(line, AssignStmt{std::move(target), parseExpression()});
  }

  StmtPtr parsePut() {
    int line = advance().line;
    ExprPtr first = parseExpression();
    for (auto [word, mode] : {std::pair{"into", PutMode::Into}, std::pair{"after", PutMode::After},
                              std::pair{"before", PutMode::Before}}) {
      if (!atKeyword(word)) continue;
      advance();
      ExprPtr target = parsePostfix();
      if (!isAssignable(*target)) throw ScriptError("Cannot put into this expression", line);
      return makeStmt(line, PutIntoStmt{mode, std::move(first), std::move(target)});
    }
    PutStmt stmt;
    stmt.values.push_back(std::move(first));
    while (at(TokenKind::Comma)) {
      advance();
      stmt.values.push_back(parseExpression());
    }
    return makeStmt(line, std::move(stmt));
  }

  ExprPtr parseCondition() {
    ExprPtr condition = parseExpression();
    skipNewlines();
    expectKeyword("then");
    return condition;
  }

  // A branch of a block `if`: statements up to `else` or `end`, the first of which may stand on
  // the line of its `then` or `else`.
  Block parseBranchBody(int openLine) {
    Block body;
    if (!atLineEnd()) {
      body.push_back(parseStatement());
      expectLineEnd();
    }
    Block rest = parseBlock({"end", "else"}, "\"end if\"", openLine);
    for (auto& stmt : rest) body.push_back(std::move(stmt));
    return body;
  }

  StmtPtr parseIf() {
    int line = advance().line;
    IfStmt stmt;
    ExprPtr condition = parseCondition();
    if (!atLineEnd()) {
      // One-line form: `if c then s` with an optional `else s` on the same line.
      Block body;
      body.push_back(parseStatement());
      stmt.branches.push_back(IfBranch{std::move(condition), std::move(body)});
      if (atKeyword("else")) {
        advance();
        stmt.otherwise.push_back(parseStatement());
      }
      return makeStmt(line, std::move(stmt));
    }
    if (at(TokenKind::EndOfText)) fail("Missing \"end if\"", peek());
    stmt.branches.push_back(IfBranch{std::move(condition), parseBranchBody(line)});
    while (atKeyword("else")) {
      advance();
      if (atKeyword("if")) {
        advance();
        ExprPtr branchCondition = parseCondition();
        stmt.branches.push_back(IfBranch{std::move(branchCondition), parseBranchBody(line)});
        continue;
      }
      stmt.otherwise = parseBranchBody(line);
      if (atKeyword("else")) fail("\"else\" after the final \"else\"", peek());
    }
    expectEnd("if");
    return makeStmt(line, std::move(stmt));
  }

  Block parseLoopBody(int line) {
    if (!atLineEnd()) unexpected("end of line");
    ++loopDepth_;
    Block body = parseBlock({"end"}, "\"end repeat\"", line);
    --loopDepth_;
    expectEnd("repeat");
    return body;
  }

  StmtPtr parseRepeat() {
    int line = advance().line;
    if (atKeyword("while")) {
      advance();
      ExprPtr condition = parseExpression();
      Block body = parseLoopBody(line);
      return makeStmt(line, RepeatWhileStmt{std::move(condition), std::move(body)});
    }
    if (!atKeyword("with")) unexpected("\"while\" or \"with\" after \"repeat\"");
    advance();
    std::string variable = foldCase(expectName("a variable name"));
    if (atKeyword("in")) {
      advance();
      ExprPtr list = parseExpression();
      Block body = parseLoopBody(line);
      return makeStmt(line, RepeatInStmt{variable, std::move(list), std::move(body)});
    }
    expect(TokenKind::Equal, "\"=\" or \"in\"");
    RepeatRangeStmt stmt;
    stmt.variable = variable;
    stmt.from = parseExpression();
    if (atKeyword("down")) {
      advance();
      stmt.down = true;
    }
    expectKeyword("to");
    stmt.to = parseExpression();
    stmt.body = parseLoopBody(line);
    return makeStmt(line, std::move(stmt));
  }

  // ---- expressions, loosest binding first

  ExprPtr makeExpr(int line, auto node) {
    auto expr = std::make_unique<Expr>();
    expr->line = line;
    expr->node = std::move(node);
    return expr;
  }

  ExprPtr binary(BinaryOp op, ExprPtr left, ExprPtr right) {
    int line = left->line;
    return makeExpr(line, BinaryExpr{op, std::move(left), std::move(right)});
  }

  ExprPtr parseExpression() {
    NestingGuard guard(*this);
    ExprPtr left = parseComparison();
    while (true) {
      BinaryOp op;
      if (atKeyword("and")) {
        op = BinaryOp::And;
      } else if (atKeyword("or")) {
        op = BinaryOp::Or;
      } else {
        return left;
      }
      advance();
      left = binary(op, std::move(left), parseComparison());
    }
  }

  ExprPtr parseComparison() {
    ExprPtr left = parseConcatenation();
    while (true) {
      BinaryOp op;
      switch (peek().kind) {
        case TokenKind::Equal:
          op = BinaryOp::Equal;
          break;
        case TokenKind::NotEqual:
          op = BinaryOp::NotEqual;
          break;
        case TokenKind::Less:
          op = BinaryOp::Less;
          break;
        case TokenKind::Greater:
          op = BinaryOp::Greater;
          break;
        case TokenKind::LessEqual:
          op = BinaryOp::LessEqual;
          break;
        case TokenKind::GreaterEqual:
          op = BinaryOp::GreaterEqual;
          break;
        default:
          if (atKeyword("contains")) {
            op = BinaryOp::Contains;
          } else if (atKeyword("starts")) {
            op = BinaryOp::Starts;
          } else {
            return left;
          }
      }
      advance();
      left = binary(op, std::move(left), parseConcatenation());
    }
  }

  ExprPtr parseConcatenation() {
    ExprPtr left = parseAdditive();
    while (at(TokenKind::Ampersand) || at(TokenKind::DoubleAmpersand)) {
      BinaryOp op = at(TokenKind::Ampersand) ? BinaryOp::Concat : BinaryOp::ConcatWithSpace;
      advance();
      left = binary(op, std::move(left), parseAdditive());
    }
    return left;
  }

  ExprPtr parseAdditive() {
    ExprPtr left = parseMultiplicative();
    while (at(TokenKind::Plus) || at(TokenKind::Minus)) {
      BinaryOp op = at(TokenKind::Plus) ? BinaryOp::Add : BinaryOp::Subtract;
      advance();
      left = binary(op, std::move(left), parseMultiplicative());
    }
    return left;
  }

  ExprPtr parseMultiplicative() {
    ExprPtr left = parseUnary();
    while (true) {
      BinaryOp op;
      if (at(TokenKind::Star)) {
        op = BinaryOp::Multiply;
      } else if (at(TokenKind::Slash)) {
        op = BinaryOp::Divide;
      } else if (atKeyword("mod")) {
        op = BinaryOp::Mod;
      } else {
        return left;
      }
      advance();
      left = binary(op, std::move(left), parseUnary());
    }
  }

  // `not` binds as tightly as unary minus, as in Lingo: `not a = b` is `(not a) = b`.
  ExprPtr parseUnary() {
    NestingGuard guard(*this);
    int line = peek().line;
    if (at(TokenKind::Minus)) {
      advance();
      return makeExpr(line, UnaryExpr{UnaryOp::Negate, parseUnary()});
    }
    if (atKeyword("not")) {
      advance();
      return makeExpr(line, UnaryExpr{UnaryOp::Not, parseUnary()});
    }
    return parsePostfix();
  }

  ExprPtr parsePostfix() {
    ExprPtr expr = parsePrimary();
    while (true) {
      int line = peek().line;
      if (at(TokenKind::Dot)) {
        advance();
        if (!at(TokenKind::Identifier)) unexpected("a name after \".\"");
        std::string spelling = advance().text;
        if (at(TokenKind::LeftParen)) {
          ExprList args = parseParenthesisedArguments();
          expr = makeExpr(
              line, MethodCallExpr{std::move(expr), foldCase(spelling), spelling, std::move(args)});
        } else {
          expr = makeExpr(line, PropertyExpr{std::move(expr), foldCase(spelling), spelling});
        }
      } else if (at(TokenKind::LeftBracket)) {
        advance();
        ExprPtr index = parseExpression();
        expectCloser(TokenKind::RightBracket, "\"]\"", line);
        expr = makeExpr(line, IndexExpr{std::move(expr), std::move(index)});
      } else {
        return expr;
      }
    }
  }

  ExprList parseParenthesisedArguments() {
    int openLine = peek().line;
    expect(TokenKind::LeftParen, "\"(\"");
    ExprList args;
    if (!at(TokenKind::RightParen)) args = parseArguments();
    expectCloser(TokenKind::RightParen, "\",\" or \")\"", openLine);
    return args;
  }

  ExprPtr literal(int line, Value value) { return makeExpr(line, LiteralExpr{std::move(value)}); }

  ExprPtr parsePrimary() {
    const Token& token = peek();
    int line = token.line;
    switch (token.kind) {
      case TokenKind::Integer:
        advance();
        return literal(line, Value::integer(token.integer));
      case TokenKind::Float:
        advance();
        return literal(line, Value::floating(token.floating));
      case TokenKind::String:
        advance();
        return literal(line, Value::string(token.text));
      case TokenKind::Symbol:
        advance();
        return literal(line, Value::symbol(token.text));
      case TokenKind::LeftParen: {
        advance();
        ExprPtr inner = parseExpression();
        expectCloser(TokenKind::RightParen, "\")\"", line);
        return inner;
      }
      case TokenKind::LeftBracket:
        return parseListLiteral();
      case TokenKind::Identifier:
        return parseNamed();
      default:
        unexpected("a value");
    }
  }

  ExprPtr parseNamed() {
    int line = peek().line;
    std::string word = foldCase(peek().text);
    if (word == "the") {
      advance();
      if (atKeyword("milliseconds")) {
        advance();
        return makeExpr(line, TheExpr{TheProperty::Milliseconds});
      }
      if (atKeyword("ticks")) {
        advance();
        return makeExpr(line, TheExpr{TheProperty::Ticks});
      }
      fail("Unknown property \"the " + peek().text + "\"", peek());
    }
    if (word == "xtra" &&
        (peek(1).kind == TokenKind::String || peek(1).kind == TokenKind::LeftParen)) {
      advance();
      return makeExpr(line, XtraExpr{parsePrimary()});
    }
    static const std::pair<std::string_view, Value> kConstants[] = {
        {"true", Value::integer(1)},  {"false", Value::integer(0)},   {"void", Value()},
        {"empty", Value::string("")}, {"quote", Value::string("\"")}, {"space", Value::string(" ")},
        {"tab", Value::string("\t")},
    };
    for (const auto& [name, value] : kConstants) {
      if (word == name) {
        advance();
        return literal(line, value);
      }
    }
    std::string spelling = expectName("a value");
    if (at(TokenKind::LeftParen)) {
      ExprList args = parseParenthesisedArguments();
      return makeExpr(line, CallExpr{foldCase(spelling), spelling, std::move(args)});
    }
    return makeExpr(line, VariableExpr{foldCase(spelling), spelling});
  }

  ExprPtr parseListLiteral() {
    int line = advance().line;
    if (at(TokenKind::Colon) && peek(1).kind == TokenKind::RightBracket) {
      advance();
      advance();
      return makeExpr(line, PropListExpr{});
    }
    if (at(TokenKind::RightBracket)) {
      advance();
      return makeExpr(line, ListExpr{});
    }
    ExprPtr first = parseExpression();
    if (!at(TokenKind::Colon)) {
      ListExpr list;
      list.items.push_back(std::move(first));
      while (at(TokenKind::Comma)) {
        advance();
        list.items.push_back(parseExpression());
      }
      expectCloser(TokenKind::RightBracket, "\",\" or \"]\"", line);
      return makeExpr(line, std::move(list));
    }
    PropListExpr propList;
    advance();
    propList.entries.emplace_back(std::move(first), parseExpression());
    while (at(TokenKind::Comma)) {
      advance();
      ExprPtr key = parseExpression();
      expect(TokenKind::Colon, "\":\" after a property name");
      propList.entries.emplace_back(std::move(key), parseExpression());
    }
    expectCloser(TokenKind::RightBracket, "\",\" or \"]\"", line);
    return makeExpr(line, std::move(propList));
  }

  std::vector<Token> tokens_;
  std::size_t pos_ = 0;
  int nesting_ = 0;
  int loopDepth_ = 0;
};

}  // namespace

Script parseScript(std::string_view text) {
  return Parser(tokenize(text)).parse();
}

}  // namespace tonvik
