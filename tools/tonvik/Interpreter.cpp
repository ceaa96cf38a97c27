#include "Interpreter.h"

#include <new>
#include <ostream>
#include <thread>

#include "CaseFold.h"
#include "CycleCollector.h"
#include "Parser.h"
#include "ScriptError.h"
#include "ValueFormat.h"
#include "ValueOps.h"

namespace tonvik {

namespace {

// Thrown by `halt` to unwind every handler at once; run() catches it and ends quietly.
struct HaltSignal {};

void sleepFor(std::chrono::milliseconds duration) {
  if (duration.count() > 0) std::this_thread::sleep_for(duration);
}

}  // namespace

Interpreter::Interpreter(std::ostream& out)
    : out_(out),
      runLoopStep_(sleepFor),
      stackFloor_(stackFloor()),
      start_(std::chrono::steady_clock::now()) {}

Interpreter::~Interpreter() {
  releaseValues();
}

void Interpreter::setXtraBridge(std::shared_ptr<XtraBridge> bridge) {
  bridge_ = std::move(bridge);
}

void Interpreter::registerHostFunction(std::string_view name, HostFunction function) {
  hostFunctions_[foldCase(name)] = std::move(function);
}

void Interpreter::setRunLoopStep(RunLoopStep step) {
  runLoopStep_ = std::move(step);
}

Value Interpreter::global(std::string_view name) const {
  auto it = globals_.find(foldCase(name));
  return it == globals_.end() ? Value() : it->second;
}

void Interpreter::releaseValues() noexcept {
  globals_.clear();
  collectCycles(0);
}

template <typename Body>
void Interpreter::guarded(Body&& body) {
  halted_ = false;
  steps_ = 0;
  deadline_ = std::chrono::steady_clock::now() + timeLimit_;
  try {
    body();
  } catch (const HaltSignal&) {
    halted_ = true;
  } catch (const std::bad_alloc&) {
    // Statements report it with their line; this is what fails outside them (parsing, say).
    throw outOfMemoryError();
  }
}

void Interpreter::run(std::string_view text) {
  guarded([&] {
    // What only cycles keep goes once the run ends, however it ends: top-level statements make
    // their lists in the global frame, which no handler return covers.
    CycleCollection atEnd(CycleCollection::Scope::Run);
    Script script = parseScript(text);
    for (auto& handler : script.handlers) handlers_[handler->name] = handler;
    Frame frame;
    frame.topLevel = true;
    for (const StmtPtr& stmt : script.statements) {
      Flow flow = exec(*stmt, frame);
      if (flow == Flow::Return || flow == Flow::Exit) break;
      runLoopStep_(std::chrono::milliseconds(0));
    }
  });
}

bool Interpreter::hasHandler(std::string_view name) const {
  return handlers_.count(foldCase(name)) != 0;
}

Value Interpreter::call(std::string_view name, std::vector<Value> args) {
  Value result;
  guarded([&] {
    auto handler = handlers_.find(foldCase(name));
    if (handler == handlers_.end()) throw ScriptError("Handler not defined: " + std::string(name));
    std::shared_ptr<const Handler> running = handler->second;
    result = invokeHandler(*running, std::move(args));
  });
  return result;
}

void Interpreter::countLimitedStep() {
  if (stepLimit_ != 0 && ++steps_ > stepLimit_) {
    throw ScriptError("The script ran past its limit of " + std::to_string(stepLimit_) + " steps");
  }
  if (timeLimit_.count() != 0 && std::chrono::steady_clock::now() > deadline_) {
    throw ScriptError("The script ran past its limit of " + std::to_string(timeLimit_.count()) +
                      " ms");
  }
}

void Interpreter::stackUsedUp() const {
  if (callDepth_ == 0) throw ScriptError("Expression nested too deeply for the stack");
  throw ScriptError("Handler calls and expressions nested too deeply for the stack (" +
                    std::to_string(callDepth_) + " calls deep)");
}

Interpreter::Flow Interpreter::execBlock(const Block& block, Frame& frame) {
  for (const StmtPtr& stmt : block) {
    Flow flow = exec(*stmt, frame);
    if (flow != Flow::Normal) return flow;
  }
  return Flow::Normal;
}

Interpreter::Flow Interpreter::exec(const Stmt& stmt, Frame& frame) {
  try {
    guardStack();
    countStep();
    return std::visit([&](const auto& node) { return execNode(node, frame); }, stmt.node);
  } catch (ScriptError& error) {
    if (!error.hasLine()) error.setLine(stmt.line);
    throw;
  } catch (const std::bad_alloc&) {
    throw outOfMemoryError(stmt.line);
  } catch (const std::exception& error) {
    throw ScriptError(error.what(), stmt.line);
  }
}

Interpreter::Flow Interpreter::execNode(const AssignStmt& stmt, Frame& frame) {
  assign(*stmt.target, eval(*stmt.value, frame), frame);
  return Flow::Normal;
}

Interpreter::Flow Interpreter::execNode(const PutStmt& stmt, Frame& frame) {
  std::string line = "--";
  for (const ExprPtr& value : stmt.values) line += " " + formatValue(eval(*value, frame));
  out_ << line << '\n' << std::flush;
  return Flow::Normal;
}

Interpreter::Flow Interpreter::execNode(const PutIntoStmt& stmt, Frame& frame) {
  Value value = eval(*stmt.value, frame);
  if (stmt.mode != PutMode::Into) {
    Value current = eval(*stmt.target, frame);
    value = Value::string(stmt.mode == PutMode::After ? joinText(current, "", value)
                                                      : joinText(value, "", current));
  }
  assign(*stmt.target, std::move(value), frame);
  return Flow::Normal;
}

Interpreter::Flow Interpreter::execNode(const CallStmt& stmt, Frame& frame) {
  eval(*stmt.call, frame);
  return Flow::Normal;
}

Interpreter::Flow Interpreter::execNode(const IfStmt& stmt, Frame& frame) {
  for (const IfBranch& branch : stmt.branches) {
    if (isTrue(eval(*branch.condition, frame))) return execBlock(branch.body, frame);
  }
  return execBlock(stmt.otherwise, frame);
}

bool Interpreter::loopStep(const Block& body, Frame& frame, Flow& flow) {
  flow = execBlock(body, frame);
  if (flow == Flow::ExitRepeat) {
    flow = Flow::Normal;
    return false;
  }
  if (flow == Flow::NextRepeat) flow = Flow::Normal;
  return flow == Flow::Normal;
}

Interpreter::Flow Interpreter::execNode(const RepeatWhileStmt& stmt, Frame& frame) {
  Flow flow = Flow::Normal;
  while (isTrue(eval(*stmt.condition, frame))) {
    if (!loopStep(stmt.body, frame, flow)) break;
  }
  return flow;
}

Interpreter::Flow Interpreter::execNode(const RepeatRangeStmt& stmt, Frame& frame) {
  auto bound = [&](const Expr& expr) {
    Value value = eval(expr, frame);
    if (value.kind() != ValueKind::Integer) {
      throw ScriptError("repeat with: expected an integer bound, got " + describeValue(value));
    }
    return static_cast<std::int64_t>(value.asInteger());
  };
  std::int64_t from = bound(*stmt.from);
  std::int64_t to = bound(*stmt.to);
  std::int64_t step = stmt.down ? -1 : 1;
  // As in Lingo, the variable itself is the counter: the body may move it, and after the loop
  // it holds the first value past the end.
  std::int64_t i = from;
  Flow flow = Flow::Normal;
  while (true) {
    writeVariable(stmt.variable, Value::integer(static_cast<std::int32_t>(i)), frame);
    if (stmt.down ? i < to : i > to) break;
    if (!loopStep(stmt.body, frame, flow)) break;
    Value counter = readVariable(stmt.variable, stmt.variable, frame);
    if (counter.kind() != ValueKind::Integer) {
      throw ScriptError("repeat with: the loop variable " + stmt.variable +
                        " no longer holds an integer");
    }
    i = static_cast<std::int64_t>(counter.asInteger()) + step;
  }
  return flow;
}

Interpreter::Flow Interpreter::execNode(const RepeatInStmt& stmt, Frame& frame) {
  Value list = eval(*stmt.list, frame);
  if (list.kind() != ValueKind::List && list.kind() != ValueKind::PropList) {
    throw ScriptError("repeat with in: expected a list, got " + describeValue(list));
  }
  Flow flow = Flow::Normal;
  // The count is read afresh each time, so a body that changes the list cannot overrun it.
  for (std::size_t i = 0;; ++i) {
    Value item;
    if (list.kind() == ValueKind::List) {
      if (i >= list.asList().items.size()) break;
      item = list.asList().items[i];
    } else {
      if (i >= list.asPropList().entries.size()) break;
      item = list.asPropList().entries[i].value;
    }
    writeVariable(stmt.variable, std::move(item), frame);
    if (!loopStep(stmt.body, frame, flow)) break;
  }
  return flow;
}

Interpreter::Flow Interpreter::execNode(const ExitRepeatStmt&, Frame&) {
  return Flow::ExitRepeat;
}

Interpreter::Flow Interpreter::execNode(const NextRepeatStmt&, Frame&) {
  return Flow::NextRepeat;
}

Interpreter::Flow Interpreter::execNode(const ReturnStmt& stmt, Frame& frame) {
  frame.result = stmt.value ? eval(*stmt.value, frame) : Value();
  return Flow::Return;
}

Interpreter::Flow Interpreter::execNode(const ExitStmt&, Frame&) {
  return Flow::Exit;
}

Interpreter::Flow Interpreter::execNode(const HaltStmt&, Frame&) {
  throw HaltSignal{};
}

Interpreter::Flow Interpreter::execNode(const GlobalStmt& stmt, Frame& frame) {
  for (const std::string& name : stmt.names) {
    declaredGlobals_.insert(name);
    frame.globalNames.insert(name);
  }
  return Flow::Normal;
}

bool Interpreter::isGlobalIn(const std::string& name, const Frame& frame) const {
  return frame.topLevel || frame.globalNames.count(name) != 0;
}

Value Interpreter::readVariable(const std::string& name, const std::string& spelling,
                                Frame& frame) {
  if (isGlobalIn(name, frame)) {
    auto it = globals_.find(name);
    if (it != globals_.end()) return it->second;
    if (declaredGlobals_.count(name) != 0) return Value();
  } else {
    auto it = frame.locals.find(name);
    if (it != frame.locals.end()) return it->second;
  }
  throw ScriptError("Variable used before assigned a value: " + spelling);
}

void Interpreter::writeVariable(const std::string& name, Value value, Frame& frame) {
  if (isGlobalIn(name, frame)) {
    globals_[name] = std::move(value);
  } else {
    frame.locals[name] = std::move(value);
  }
}

}  // namespace tonvik
