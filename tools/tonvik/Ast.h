// The parsed form of a script: expressions, statements and handlers. Every node keeps the line it
// started on, which is the line a script error reports.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Value.h"

namespace tonvik {

struct Expr;
struct Stmt;
using ExprPtr = std::unique_ptr<Expr>;
using StmtPtr = std::unique_ptr<Stmt>;
using Block = std::vector<StmtPtr>;
using ExprList = std::vector<ExprPtr>;

enum class BinaryOp {
  Add,
  Subtract,
  Multiply,
  Divide,
  Mod,
  Concat,
  ConcatWithSpace,
  Equal,
  NotEqual,
  Less,
  Greater,
  LessEqual,
  GreaterEqual,
  Contains,
  Starts,
  And,
  Or,
};

enum class UnaryOp { Negate, Not };

enum class TheProperty { Milliseconds, Ticks };

// A number, string, symbol or constant; never a list, since a list literal makes a new list each
// time it is evaluated.
struct LiteralExpr {
  Value value;
};
// Names are stored case-folded; `spelling` is kept for messages.
struct VariableExpr {
  std::string name;
  std::string spelling;
};
struct UnaryExpr {
  UnaryOp op;
  ExprPtr operand;
};
struct BinaryExpr {
  BinaryOp op;
  ExprPtr left;
  ExprPtr right;
};
// name(args): a handler, a host function, a built-in, or a method of the first argument.
struct CallExpr {
  std::string name;
  std::string spelling;
  ExprList args;
};
// object.name(args)
struct MethodCallExpr {
  ExprPtr object;
  std::string name;
  std::string spelling;
  ExprList args;
};
// object.name, without parentheses
struct PropertyExpr {
  ExprPtr object;
  std::string name;
  std::string spelling;
};
struct IndexExpr {
  ExprPtr object;
  ExprPtr index;
};
struct ListExpr {
  ExprList items;
};
struct PropListExpr {
  std::vector<std::pair<ExprPtr, ExprPtr>> entries;
};
struct TheExpr {
  TheProperty property;
};
struct XtraExpr {
  ExprPtr name;
};

// Operator and postfix chains (`1 + 1 + ...`, `l[1][1]...`) are as deep as they are long, so an
// expression frees its operands in a loop rather than by recursion, and without allocating.
struct Expr {
  Expr() = default;
  ~Expr();
  Expr(const Expr&) = delete;
  Expr& operator=(const Expr&) = delete;

  int line = 0;
  std::variant<LiteralExpr, VariableExpr, UnaryExpr, BinaryExpr, CallExpr, MethodCallExpr,
               PropertyExpr, IndexExpr, ListExpr, PropListExpr, TheExpr, XtraExpr>
      node;

 private:
  // Moves this node's operands onto `pending`, a list linked through nextToFree_.
  void detachOperands(Expr*& pending);

  Expr* nextToFree_ = nullptr;
};

// target is a VariableExpr, IndexExpr or PropertyExpr.
struct AssignStmt {
  ExprPtr target;
  ExprPtr value;
};
struct PutStmt {
  ExprList values;
};
enum class PutMode { Into, After, Before };
struct PutIntoStmt {
  PutMode mode;
  ExprPtr value;
  ExprPtr target;
};
struct CallStmt {
  ExprPtr call;
};
struct IfBranch {
  ExprPtr condition;
  Block body;
};
struct IfStmt {
  std::vector<IfBranch> branches;
  Block otherwise;
};
struct RepeatWhileStmt {
  ExprPtr condition;
  Block body;
};
struct RepeatRangeStmt {
  std::string variable;
  ExprPtr from;
  ExprPtr to;
  bool down = false;
  Block body;
};
struct RepeatInStmt {
  std::string variable;
  ExprPtr list;
  Block body;
};
struct ExitRepeatStmt {};
struct NextRepeatStmt {};
// value may be null.
struct ReturnStmt {
  ExprPtr value;
};
// Leaves the handler, or ends the script at the top level.
struct ExitStmt {};
struct HaltStmt {};
struct GlobalStmt {
  std::vector<std::string> names;
};

struct Stmt {
  int line = 0;
  std::variant<AssignStmt, PutStmt, PutIntoStmt, CallStmt, IfStmt, RepeatWhileStmt, RepeatRangeStmt,
               RepeatInStmt, ExitRepeatStmt, NextRepeatStmt, ReturnStmt, ExitStmt, HaltStmt,
               GlobalStmt>
      node;
};

struct Handler {
  std::string name;
  std::string spelling;
  std::vector<std::string> params;
  Block body;
  int line = 0;
};

struct Script {
  std::vector<std::shared_ptr<const Handler>> handlers;
  Block statements;
};

}  // namespace tonvik
