// Runs Lingo scripts. The interpreter owns the script's global variables and handlers across
// runs, so the message window can define a handler on one line and call it on the next.
//
// Extension points for the host tool:
// - setXtraBridge: the Xtras that `xtra "Name"` and `new` reach;
// - registerHostFunction: functions callable by name from scripts;
// - setRunLoopStep: what `wait(ms)` does, and what runs between top-level statements;
// - call: a handler of the script, called from the host (a frame loop, say).
//
// No script overflows the stack: operator and postfix chains are evaluated in a loop, and the
// recursion that is left (nesting written in the script, handler calls) stops with a script error
// before the stack of the running thread is used up (StackLimit.h). Values and parsed scripts
// are freed without recursion. Running out of memory is the script error "Out of memory".
//
// An interpreter and its values belong to the thread that made it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Ast.h"
#include "StackLimit.h"
#include "Value.h"
#include "XtraBridge.h"

namespace tonvik {

// Called with the script's arguments; returns the result (VOID for none) or throws ScriptError.
using HostFunction = std::function<Value(const std::vector<Value>& args)>;

// Runs the host's run loop for the given time, delivering what is due; called with 0 between
// top-level statements and with the script's time by `wait`.
using RunLoopStep = std::function<void(std::chrono::milliseconds)>;

class Interpreter {
 public:
  // `put` writes to `out`.
  explicit Interpreter(std::ostream& out);
  ~Interpreter();
  Interpreter(const Interpreter&) = delete;
  Interpreter& operator=(const Interpreter&) = delete;

  void setXtraBridge(std::shared_ptr<XtraBridge> bridge);
  // Names ignore case. A handler the script defines takes precedence over a host function, and
  // a host function over a built-in of the same name.
  void registerHostFunction(std::string_view name, HostFunction function);
  void setRunLoopStep(RunLoopStep step);

  // Parses all of `text`, then runs it. A ScriptError carries the line it happened on.
  void run(std::string_view text);

  // Whether a handler of that name (ignoring case) has been defined by the scripts run so far.
  bool hasHandler(std::string_view name) const;
  // Calls the handler as a script would, and returns its result; a ScriptError carries the line
  // it happened on. `halt` inside it ends the call quietly and sets halted().
  Value call(std::string_view name, std::vector<Value> args);
  // Whether the last run or call ended with `halt`.
  bool halted() const { return halted_; }

  // Past these a run or call stops with a script error: the statements and expressions it
  // evaluates, and the time it takes (0, the default, for no limit). The fuzzer uses them to end
  // loops; a step that copies or searches a long list counts as one, hence the time too.
  void setStepLimit(std::uint64_t steps) { stepLimit_ = steps; }
  void setTimeLimit(std::chrono::milliseconds time) { timeLimit_ = time; }

  // A global variable's value, VOID if it has none.
  Value global(std::string_view name) const;

  // Drops every variable and frees the lists that refer to one another, so that each Xtra
  // instance goes away now, while its Xtra is still loaded. Allocates nothing, so it works when
  // memory has run out.
  void releaseValues() noexcept;

 private:
  enum class Flow { Normal, ExitRepeat, NextRepeat, Return, Exit };
  struct Frame {
    bool topLevel = false;
    std::unordered_map<std::string, Value> locals;
    std::unordered_set<std::string> globalNames;
    Value result;
  };

  Flow execBlock(const Block& block, Frame& frame);
  Flow exec(const Stmt& stmt, Frame& frame);
  Flow execNode(const AssignStmt& stmt, Frame& frame);
  Flow execNode(const PutStmt& stmt, Frame& frame);
  Flow execNode(const PutIntoStmt& stmt, Frame& frame);
  Flow execNode(const CallStmt& stmt, Frame& frame);
  Flow execNode(const IfStmt& stmt, Frame& frame);
  Flow execNode(const RepeatWhileStmt& stmt, Frame& frame);
  Flow execNode(const RepeatRangeStmt& stmt, Frame& frame);
  Flow execNode(const RepeatInStmt& stmt, Frame& frame);
  Flow execNode(const ExitRepeatStmt& stmt, Frame& frame);
  Flow execNode(const NextRepeatStmt& stmt, Frame& frame);
  Flow execNode(const ReturnStmt& stmt, Frame& frame);
  Flow execNode(const ExitStmt& stmt, Frame& frame);
  Flow execNode(const HaltStmt& stmt, Frame& frame);
  Flow execNode(const GlobalStmt& stmt, Frame& frame);
  // The body of a loop: whether to go on, and the flow to hand up when not.
  bool loopStep(const Block& body, Frame& frame, Flow& flow);

  // Runs `body`, turning `halt` into halted() and a lack of memory into a script error.
  template <typename Body>
  void guarded(Body&& body);
  // Every statement and expression passes both; they are inline for that reason.
  void countStep() {
    if (stepLimit_ != 0 || timeLimit_.count() != 0) [[unlikely]]
      countLimitedStep();
  }
  void guardStack() const {
    if (belowStackFloor(stackFloor_)) [[unlikely]]
      stackUsedUp();
  }
  void countLimitedStep();
  [[noreturn]] void stackUsedUp() const;

  Value eval(const Expr& expr, Frame& frame);
  Value evalNode(const LiteralExpr& expr, Frame& frame);
  Value evalNode(const VariableExpr& expr, Frame& frame);
  Value evalNode(const UnaryExpr& expr, Frame& frame);
  Value evalNode(const CallExpr& expr, Frame& frame);
  // The links of a chain, applied to the value of what the chain has built so far.
  Value evalLink(const Expr& link, Value&& operand, Frame& frame);
  Value evalLink(const BinaryExpr& expr, const Value& left, Frame& frame);
  Value evalLink(const MethodCallExpr& expr, Value&& object, Frame& frame);
  Value evalLink(const PropertyExpr& expr, const Value& object, Frame& frame);
  Value evalLink(const IndexExpr& expr, const Value& object, Frame& frame);
  Value evalNode(const ListExpr& expr, Frame& frame);
  Value evalNode(const PropListExpr& expr, Frame& frame);
  Value evalNode(const TheExpr& expr, Frame& frame);
  Value evalNode(const XtraExpr& expr, Frame& frame);
  std::vector<Value> evalArgs(const ExprList& args, Frame& frame);

  void assign(const Expr& target, Value value, Frame& frame);
  Value readVariable(const std::string& name, const std::string& spelling, Frame& frame);
  void writeVariable(const std::string& name, Value value, Frame& frame);
  bool isGlobalIn(const std::string& name, const Frame& frame) const;

  Value callFunction(const std::string& name, const std::string& spelling, std::vector<Value> args);
  Value invokeHandler(const Handler& handler, std::vector<Value> args);
  Value callXtraMethod(XtraInstance& instance, const std::string& method,
                       const std::vector<Value>& args);
  Value newInstance(const std::vector<Value>& args);
  void wait(const std::vector<Value>& args);

  std::ostream& out_;
  std::shared_ptr<XtraBridge> bridge_;
  RunLoopStep runLoopStep_;
  std::unordered_map<std::string, HostFunction> hostFunctions_;
  std::unordered_map<std::string, std::shared_ptr<const Handler>> handlers_;
  std::unordered_map<std::string, Value> globals_;
  // Names declared with `global`: they read as VOID before their first assignment.
  std::unordered_set<std::string> declaredGlobals_;
  // Read when the interpreter is made: it runs on the thread that made it, as its values do.
  std::uintptr_t stackFloor_;
  int callDepth_ = 0;
  int instancesCreated_ = 0;
  std::uint64_t stepLimit_ = 0;
  std::uint64_t steps_ = 0;
  std::chrono::milliseconds timeLimit_{0};
  std::chrono::steady_clock::time_point deadline_;
  bool halted_ = false;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace tonvik
