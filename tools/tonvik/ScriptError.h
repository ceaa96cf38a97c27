// A script error: what stops a script, and what the message window reports as
// "Script error: MESSAGE (FILE:LINE)". Host functions throw it to fail a call.
#pragma once

#include <stdexcept>
#include <string>

namespace tonvik {

class ScriptError : public std::runtime_error {
 public:
  explicit ScriptError(const std::string& message, int line = 0)
      : std::runtime_error(message), line_(line) {}

  // 0 until the statement that failed is known.
  int line() const { return line_; }
  void setLine(int line) { line_ = line; }
  bool hasLine() const { return line_ > 0; }

  // The error stops before any statement ran only because the text was incomplete (an open
  // block, bracket or continuation): the message window then reads on.
  bool incomplete() const { return incomplete_; }
  void setIncomplete() { incomplete_ = true; }

 private:
  int line_;
  bool incomplete_ = false;
};

// "Out of memory", on `line`. Made without allocating: it copies an error made at start-up,
// whose message the copy shares.
ScriptError outOfMemoryError(int line = 0) noexcept;

}  // namespace tonvik
