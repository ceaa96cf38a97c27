#include "Ast.h"

#include <type_traits>

namespace tonvik {

Expr::~Expr() {
  Expr* pending = nullptr;
  detachOperands(pending);
  while (pending != nullptr) {
    Expr* next = pending;
    pending = next->nextToFree_;
    next->detachOperands(pending);
    // It has no operands left, so its own destructor frees nothing more.
    delete next;
  }
}

void Expr::detachOperands(Expr*& pending) {
  auto take = [&pending](ExprPtr& operand) {
    if (!operand) return;
    Expr* detached = operand.release();
    detached->nextToFree_ = pending;
    pending = detached;
  };
  auto takeAll = [&take](ExprList& operands) {
    for (ExprPtr& operand : operands) take(operand);
  };
  std::visit(
      [&](auto& node) {
        using Node = std::decay_t<decltype(node)>;
        if constexpr (std::is_same_v<Node, UnaryExpr>) {
          take(node.operand);
        } else if constexpr (std::is_same_v<Node, BinaryExpr>) {
          take(node.left);
          take(node.right);
        } else if constexpr (std::is_same_v<Node, CallExpr>) {
          takeAll(node.args);
        } else if constexpr (std::is_same_v<Node, ListExpr>) {
          takeAll(node.items);
        } else if constexpr (std::is_same_v<Node, MethodCallExpr>) {
          take(node.object);
          takeAll(node.args);
        } else if constexpr (std::is_same_v<Node, PropertyExpr>) {
          take(node.object);
        } else if constexpr (std::is_same_v<Node, IndexExpr>) {
          take(node.object);
          take(node.index);
        } else if constexpr (std::is_same_v<Node, PropListExpr>) {
          for (auto& [key, value] : node.entries) {
            take(key);
            take(value);
          }
        } else if constexpr (std::is_same_v<Node, XtraExpr>) {
          take(node.name);
        }
      },
      node);
}

}  // namespace tonvik
