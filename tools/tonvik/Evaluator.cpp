// Expressions and calls of the interpreter.
#include <algorithm>
#include <boost/container/small_vector.hpp>
#include <cstdio>
#include <optional>
#include <type_traits>

#include "Builtins.h"
#include "CaseFold.h"
#include "CycleCollector.h"
#include "Interpreter.h"
#include "Limits.h"
#include "ListOps.h"
#include "ScriptError.h"
#include "ValueFormat.h"
#include "ValueOps.h"

namespace tonvik {

namespace {

constexpr int kTicksPerSecond = 60;
constexpr int kMillisecondsPerSecond = 1000;
// A day: longer waits are cut to this, so that no value can overflow the clock's arithmetic.
constexpr double kMaxWaitMilliseconds = 24.0 * 60 * 60 * kMillisecondsPerSecond;

std::string hexStatus(XtraStatus status) {
  char text[sizeof("0x00000000")];
  std::snprintf(text, sizeof(text), "0x%08X",
                static_cast<unsigned>(static_cast<std::uint32_t>(status)));
  return text;
}

std::string argumentCountMessage(const Builtin& builtin, std::size_t given) {
  std::string expected;
  if (builtin.maxArgs < 0) {
    expected = "at least " + std::to_string(builtin.minArgs);
  } else if (builtin.minArgs == builtin.maxArgs) {
    expected = std::to_string(builtin.minArgs);
  } else {
    expected = std::to_string(builtin.minArgs) + " or " + std::to_string(builtin.maxArgs);
  }
  std::string noun = expected == "1" ? " argument" : " arguments";
  return std::string(builtin.name) + " expects " + expected + noun + ", got " +
         std::to_string(given);
}

// Links of a chain: an operator applied to what stands on its left, and `[i]`, `.name` and
// `.name(args)` applied to their object. The parser builds chains in a loop, so a chain is as
// long as its line (`1 + 1 + ...`, `l[1][1]...`), and it is evaluated in a loop too; only nesting
// written in the script (parentheses, brackets, arguments) makes the evaluator recurse.
template <typename Node>
constexpr bool kIsChainLink =
    std::is_same_v<Node, BinaryExpr> || std::is_same_v<Node, IndexExpr> ||
    std::is_same_v<Node, PropertyExpr> || std::is_same_v<Node, MethodCallExpr>;

// What the link at `expr` is applied to, or null when `expr` is not a link.
const Expr* chainOperand(const Expr& expr) {
  if (const auto* e = std::get_if<BinaryExpr>(&expr.node)) return e->left.get();
  if (const auto* e = std::get_if<IndexExpr>(&expr.node)) return e->object.get();
  if (const auto* e = std::get_if<PropertyExpr>(&expr.node)) return e->object.get();
  if (const auto* e = std::get_if<MethodCallExpr>(&expr.node)) return e->object.get();
  return nullptr;
}

// The separator of a concatenation link, or nothing for any other link.
std::optional<std::string_view> concatenation(const Expr& link) {
  const auto* binary = std::get_if<BinaryExpr>(&link.node);
  if (binary == nullptr) return std::nullopt;
  if (binary->op == BinaryOp::Concat) return "";
  if (binary->op == BinaryOp::ConcatWithSpace) return " ";
  return std::nullopt;
}

// Chains shorter than this are walked without allocating.
constexpr std::size_t kShortChain = 16;

ArithmeticOp arithmeticOp(BinaryOp op) {
  switch (op) {
    case BinaryOp::Subtract:
      return ArithmeticOp::Subtract;
    case BinaryOp::Multiply:
      return ArithmeticOp::Multiply;
    case BinaryOp::Divide:
      return ArithmeticOp::Divide;
    case BinaryOp::Mod:
      return ArithmeticOp::Mod;
    default:
      return ArithmeticOp::Add;
  }
}

}  // namespace

Value Interpreter::eval(const Expr& expr, Frame& frame) {
  guardStack();
  countStep();
  auto evalStart = [&](const Expr& start) {
    return std::visit(
        [&](const auto& node) -> Value {
          // A chain starts at a node that is not a link.
          if constexpr (kIsChainLink<std::decay_t<decltype(node)>>) {
            return Value();
          } else {
            return evalNode(node, frame);
          }
        },
        start.node);
  };
  const Expr* operand = chainOperand(expr);
  if (operand == nullptr) return evalStart(expr);
  // A chain of one link, the most common, needs neither the list of links nor the loop.
  if (chainOperand(*operand) == nullptr && !concatenation(expr)) {
    countStep();
    return evalLink(expr, evalStart(*operand), frame);
  }
  boost::container::small_vector<const Expr*, kShortChain> links;
  const Expr* start = &expr;
  for (const Expr* inner; (inner = chainOperand(*start)) != nullptr; start = inner) {
    links.push_back(start);
  }
  Value value = evalStart(*start);
  // Concatenations in a row append to one text instead of copying it at every link.
  std::optional<std::string> text;
  for (auto link = links.rbegin(); link != links.rend(); ++link) {
    countStep();
    if (auto separator = concatenation(**link)) {
      Value right = eval(*std::get<BinaryExpr>((*link)->node).right, frame);
      if (text) {
        appendText(*text, *separator, right);
      } else {
        // The first link of a run checks the length before copying the left side.
        text = joinText(value, *separator, right);
      }
      continue;
    }
    if (text) value = Value::string(*std::exchange(text, std::nullopt));
    value = evalLink(**link, std::move(value), frame);
  }
  if (text) value = Value::string(std::move(*text));
  return value;
}

Value Interpreter::evalLink(const Expr& link, Value&& operand, Frame& frame) {
  if (const auto* e = std::get_if<BinaryExpr>(&link.node)) return evalLink(*e, operand, frame);
  if (const auto* e = std::get_if<IndexExpr>(&link.node)) return evalLink(*e, operand, frame);
  if (const auto* e = std::get_if<PropertyExpr>(&link.node)) return evalLink(*e, operand, frame);
  return evalLink(std::get<MethodCallExpr>(link.node), std::move(operand), frame);
}

std::vector<Value> Interpreter::evalArgs(const ExprList& args, Frame& frame) {
  std::vector<Value> values;
  values.reserve(args.size());
  for (const ExprPtr& arg : args) values.push_back(eval(*arg, frame));
  return values;
}

Value Interpreter::evalNode(const LiteralExpr& expr, Frame&) {
  return expr.value;
}

Value Interpreter::evalNode(const VariableExpr& expr, Frame& frame) {
  return readVariable(expr.name, expr.spelling, frame);
}

Value Interpreter::evalNode(const UnaryExpr& expr, Frame& frame) {
  Value operand = eval(*expr.operand, frame);
  if (expr.op == UnaryOp::Not) return Value::boolean(!isTrue(operand));
  return negate(operand);
}

Value Interpreter::evalLink(const BinaryExpr& expr, const Value& left, Frame& frame) {
  // Both sides are always evaluated, `and` and `or` included, as Lingo does.
  Value right = eval(*expr.right, frame);
  switch (expr.op) {
    case BinaryOp::Add:
    case BinaryOp::Subtract:
    case BinaryOp::Multiply:
    case BinaryOp::Divide:
    case BinaryOp::Mod:
      return arithmetic(arithmeticOp(expr.op), left, right);
    case BinaryOp::Concat:
      return Value::string(joinText(left, "", right));
    case BinaryOp::ConcatWithSpace:
      return Value::string(joinText(left, " ", right));
    case BinaryOp::Equal:
      return Value::boolean(lingoEquals(left, right));
    case BinaryOp::NotEqual:
      return Value::boolean(!lingoEquals(left, right));
    case BinaryOp::Less:
      return Value::boolean(lingoCompare(left, right) < 0);
    case BinaryOp::Greater:
      return Value::boolean(lingoCompare(left, right) > 0);
    case BinaryOp::LessEqual:
      return Value::boolean(lingoCompare(left, right) <= 0);
    case BinaryOp::GreaterEqual:
      return Value::boolean(lingoCompare(left, right) >= 0);
    case BinaryOp::Contains:
      return Value::boolean(foldCase(displayText(left)).find(foldCase(displayText(right))) !=
                            std::string::npos);
    case BinaryOp::Starts:
      return Value::boolean(foldCase(displayText(left)).starts_with(foldCase(displayText(right))));
    case BinaryOp::And: {
      bool a = isTrue(left);
      bool b = isTrue(right);
      return Value::boolean(a && b);
    }
    case BinaryOp::Or: {
      bool a = isTrue(left);
      bool b = isTrue(right);
      return Value::boolean(a || b);
    }
  }
  return Value();
}

Value Interpreter::evalNode(const CallExpr& expr, Frame& frame) {
  return callFunction(expr.name, expr.spelling, evalArgs(expr.args, frame));
}

Value Interpreter::evalLink(const MethodCallExpr& expr, Value&& object, Frame& frame) {
  std::vector<Value> args = evalArgs(expr.args, frame);
  if (object.kind() == ValueKind::Instance) {
    XtraInstance& instance = object.asInstance();
    auto method = instance.object->findMethod(expr.spelling);
    if (!method) {
      throw ScriptError("Xtra \"" + instance.xtraName + "\" has no method " + expr.spelling);
    }
    return callXtraMethod(instance, *method, args);
  }
  // Everything else reads as a call with the object first: l.count(), x.new(), l.add(3).
  args.insert(args.begin(), std::move(object));
  return callFunction(expr.name, expr.spelling, std::move(args));
}

Value Interpreter::evalLink(const PropertyExpr& expr, const Value& object, Frame&) {
  if (expr.name == "ilk") return findBuiltin("ilk")->call({object});
  if (object.kind() == ValueKind::List || object.kind() == ValueKind::PropList) {
    if (expr.name == "count") return Value::integer(countOf(object, "count"));
    if (object.kind() == ValueKind::PropList) {
      Property* entry = object.asPropList().find(Value::symbol(expr.spelling));
      if (entry == nullptr) throw ScriptError("Property not found: #" + expr.spelling);
      return entry->value;
    }
  }
  if (object.kind() == ValueKind::String && expr.name == "length") {
    return Value::integer(lingoCount(object.asString().size(), "length"));
  }
  throw ScriptError(describeValue(object) + " has no property " + expr.spelling);
}

Value Interpreter::evalLink(const IndexExpr& expr, const Value& object, Frame& frame) {
  Value index = eval(*expr.index, frame);
  if (object.kind() == ValueKind::PropList && index.kind() != ValueKind::Integer) {
    return getaProp(object, index, "");
  }
  return getAt(object, index, "");
}

Value Interpreter::evalNode(const ListExpr& expr, Frame& frame) {
  return Value::newList(evalArgs(expr.items, frame));
}

Value Interpreter::evalNode(const PropListExpr& expr, Frame& frame) {
  Value list = Value::newPropList();
  for (const auto& [key, value] : expr.entries) {
    Value k = eval(*key, frame);
    list.asPropList().add(std::move(k), eval(*value, frame));
  }
  return list;
}

Value Interpreter::evalNode(const TheExpr& expr, Frame&) {
  auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
                     std::chrono::steady_clock::now() - start_)
                     .count();
  if (expr.property == TheProperty::Ticks)
    elapsed = elapsed * kTicksPerSecond / kMillisecondsPerSecond;
  return Value::integer(static_cast<std::int32_t>(static_cast<std::uint32_t>(elapsed)));
}

Value Interpreter::evalNode(const XtraExpr& expr, Frame& frame) {
  Value name = eval(*expr.name, frame);
  if (name.kind() != ValueKind::String) {
    throw ScriptError("xtra: expected the Xtra's name as a string, got " + describeValue(name));
  }
  auto found = bridge_ ? bridge_->findXtra(name.asString()) : std::nullopt;
  if (!found) throw ScriptError("Xtra not found: \"" + name.asString() + "\"");
  return Value::xtra(*found);
}

void Interpreter::assign(const Expr& target, Value value, Frame& frame) {
  if (const auto* variable = std::get_if<VariableExpr>(&target.node)) {
    writeVariable(variable->name, std::move(value), frame);
  } else if (const auto* indexed = std::get_if<IndexExpr>(&target.node)) {
    Value object = eval(*indexed->object, frame);
    Value index = eval(*indexed->index, frame);
    if (object.kind() == ValueKind::PropList && index.kind() != ValueKind::Integer) {
      setaProp(object, index, std::move(value), "");
    } else {
      setAt(object, index, std::move(value), "");
    }
  } else if (const auto* property = std::get_if<PropertyExpr>(&target.node)) {
    Value object = eval(*property->object, frame);
    if (object.kind() != ValueKind::PropList) {
      throw ScriptError("Cannot set property " + property->spelling + " of " +
                        describeValue(object));
    }
    setaProp(object, Value::symbol(property->spelling), std::move(value), "." + property->spelling);
  }
}

Value Interpreter::callFunction(const std::string& name, const std::string& spelling,
                                std::vector<Value> args) {
  bool toInstance = !args.empty() && args[0].kind() == ValueKind::Instance;
  if (toInstance) {
    XtraInstance& instance = args[0].asInstance();
    if (auto method = instance.object->findMethod(spelling)) {
      Value keep = args[0];
      args.erase(args.begin());
      return callXtraMethod(keep.asInstance(), *method, args);
    }
  }
  if (auto handler = handlers_.find(name); handler != handlers_.end()) {
    // Held here, so that a handler redefined while it runs stays alive until it returns.
    std::shared_ptr<const Handler> running = handler->second;
    return invokeHandler(*running, std::move(args));
  }
  if (name == "new") return newInstance(args);
  if (name == "wait") {
    wait(args);
    return Value();
  }
  if (auto host = hostFunctions_.find(name); host != hostFunctions_.end()) {
    try {
      return host->second(args);
    } catch (const ScriptError&) {
      throw;
    } catch (const std::exception& error) {
      throw ScriptError(spelling + ": " + error.what());
    }
  }
  if (const Builtin* builtin = findBuiltin(name)) {
    bool tooFew = static_cast<int>(args.size()) < builtin->minArgs;
    bool tooMany = builtin->maxArgs >= 0 && static_cast<int>(args.size()) > builtin->maxArgs;
    if (tooFew || tooMany) throw ScriptError(argumentCountMessage(*builtin, args.size()));
    return builtin->call(args);
  }
  if (toInstance) {
    throw ScriptError("Xtra \"" + args[0].asInstance().xtraName + "\" has no method " + spelling);
  }
  throw ScriptError("Handler not defined: " + spelling);
}

Value Interpreter::invokeHandler(const Handler& handler, std::vector<Value> args) {
  if (callDepth_ >= kMaxCallDepth) {
    throw ScriptError("Handlers nested too deeply (more than " + std::to_string(kMaxCallDepth) +
                      " calls) in " + handler.spelling);
  }
  guardStack();
  // Lists the call made and left in a cycle go when it ends, after its variables (the frame is
  // destroyed first); its result is held by the caller by then, so it stays.
  CycleCollection onReturn(CycleCollection::Scope::Call);
  Frame frame;
  for (std::size_t i = 0; i < handler.params.size(); ++i) {
    frame.locals[handler.params[i]] = i < args.size() ? std::move(args[i]) : Value();
  }
  struct Depth {
    int& depth;
    explicit Depth(int& d) : depth(++d) {}
    ~Depth() { --depth; }
  } depth(callDepth_);
  execBlock(handler.body, frame);
  return std::move(frame.result);
}

Value Interpreter::callXtraMethod(XtraInstance& instance, const std::string& method,
                                  const std::vector<Value>& args) {
  // The call may drop the script's last other reference to the instance; this one outlives it.
  std::shared_ptr<XtraObject> object = instance.object;
  XtraCallResult result = object->call(method, args);
  if (result.status != 0) {
    throw ScriptError(method + " failed with status " + hexStatus(result.status));
  }
  return std::move(result.result);
}

Value Interpreter::newInstance(const std::vector<Value>& args) {
  if (args.empty() || args[0].kind() != ValueKind::Xtra) {
    std::string got = args.empty() ? "nothing" : describeValue(args[0]);
    throw ScriptError("new: expected an Xtra such as xtra \"Name\", got " + got);
  }
  const std::string& name = args[0].asXtra().name;
  if (!bridge_) throw ScriptError("Xtra not found: \"" + name + "\"");
  XtraNewResult made = bridge_->newInstance(name);
  if (made.status != 0) throw ScriptError("new failed with status " + hexStatus(made.status));
  if (!made.object) throw ScriptError("new: Xtra \"" + name + "\" made no instance");
  auto instance = std::make_shared<XtraInstance>();
  instance->xtraName = name;
  instance->serial = ++instancesCreated_;
  instance->object = std::move(made.object);
  return Value::instance(std::move(instance));
}

void Interpreter::wait(const std::vector<Value>& args) {
  if (args.size() != 1 || !args[0].isNumber()) {
    std::string got =
        args.size() == 1 ? describeValue(args[0]) : std::to_string(args.size()) + " arguments";
    throw ScriptError("wait: expected a number of milliseconds, got " + got);
  }
  double ms = args[0].kind() == ValueKind::Integer ? args[0].asInteger() : args[0].asFloat();
  double clamped = ms > 0 ? std::min(ms, kMaxWaitMilliseconds) : 0.0;
  runLoopStep_(std::chrono::milliseconds(static_cast<std::int64_t>(clamped)));
}

}  // namespace tonvik
