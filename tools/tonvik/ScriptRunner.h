// Runs a whole script the way the command does, reporting a script error on `err`.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "Interpreter.h"
#include "ScriptError.h"

namespace tonvik {

constexpr int kExitSuccess = 0;
constexpr int kExitScriptError = 1;
constexpr int kExitUsage = 2;

// The exit status: kExitSuccess, or kExitScriptError after writing the error to `err` as
// "Script error: MESSAGE (SOURCE:LINE)".
int runScriptText(Interpreter& interpreter, std::string_view text, const std::string& sourceName,
                  std::ostream& out, std::ostream& err);

// The name a script file goes by in error messages: its name without its folders.
std::string sourceNameOf(const std::string& path);

}  // namespace tonvik
