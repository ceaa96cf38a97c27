// The movie as Director shows it to a script: one frame, its tempo, and its clocks.
#include <cmath>

#include "Interpreter.h"
#include "ScriptError.h"
#include "ValueOps.h"

namespace tonvik {

namespace {

constexpr int kTicksPerSecond = 60;
constexpr int kMillisecondsPerSecond = 1000;
// The movie has this one frame: the script is its movie script, played over and over.
constexpr std::int32_t kOnlyFrame = 1;
// Director's tempo channel goes from 1 to 999 frames a second.
constexpr int kMinFrameTempo = 1;
constexpr int kMaxFrameTempo = 999;

// Lingo's clocks are 32-bit integers that wrap.
Value clockValue(std::int64_t count) {
  return Value::integer(static_cast<std::int32_t>(static_cast<std::uint32_t>(count)));
}

std::int64_t ticksSince(std::chrono::steady_clock::time_point start) {
  auto elapsed = std::chrono::steady_clock::now() - start;
  return std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count() * kTicksPerSecond /
         kMillisecondsPerSecond;
}

}  // namespace

Value Interpreter::evalNode(const TheExpr& expr, Frame&) {
  switch (expr.property) {
    case TheProperty::Milliseconds:
      return clockValue(std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::steady_clock::now() - start_)
                            .count());
    case TheProperty::Ticks:
      return clockValue(ticksSince(start_));
    case TheProperty::Timer:
      return clockValue(ticksSince(timerStart_));
    case TheProperty::Frame:
      return Value::integer(kOnlyFrame);
    case TheProperty::FrameTempo:
      return Value::integer(frameTempo_);
    case TheProperty::Unknown:
      break;
  }
  throw ScriptError("Unknown property \"the " + expr.spelling + "\"");
}

Interpreter::Flow Interpreter::execNode(const GoStmt& stmt, Frame& frame) {
  switch (stmt.target) {
    case GoTarget::Loop:
      // The marker at or before the playhead; with none, frame 1: the frame that plays.
      return Flow::Normal;
    case GoTarget::Next:
      throw ScriptError("go next: the movie has no markers");
    case GoTarget::Previous:
      throw ScriptError("go previous: the movie has no markers");
    case GoTarget::Movie:
      throw ScriptError("go to movie: the message window plays only the script it was given");
    case GoTarget::Frame:
      break;
  }
  Value where = eval(*stmt.where, frame);
  if (where.kind() == ValueKind::Integer && where.asInteger() == kOnlyFrame) return Flow::Normal;
  if (where.kind() == ValueKind::Integer) {
    throw ScriptError("go: there is no frame " + std::to_string(where.asInteger()) +
                      "; the movie has one frame");
  }
  if (where.kind() == ValueKind::String) {
    throw ScriptError("go: there is no marker \"" + where.asString() +
                      "\"; the movie has one frame and no markers");
  }
  throw ScriptError("go: expected a frame number or a marker name, got " + describeValue(where));
}

Value Interpreter::puppetTempo(const std::vector<Value>& args) {
  const Value& tempo = args[0];
  double wanted = tempo.kind() == ValueKind::Integer ? tempo.asInteger()
                  : tempo.kind() == ValueKind::Float ? std::round(tempo.asFloat())
                                                     : NAN;
  if (!(wanted >= kMinFrameTempo && wanted <= kMaxFrameTempo)) {
    throw ScriptError("puppetTempo: expected " + std::to_string(kMinFrameTempo) + " to " +
                      std::to_string(kMaxFrameTempo) + " frames a second, got " +
                      describeValue(tempo));
  }
  frameTempo_ = static_cast<int>(wanted);
  return Value();
}

Value Interpreter::startTimer(const std::vector<Value>&) {
  timerStart_ = std::chrono::steady_clock::now();
  return Value();
}

}  // namespace tonvik
