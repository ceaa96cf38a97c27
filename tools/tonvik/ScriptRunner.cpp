#include "ScriptRunner.h"

#include <ostream>

namespace tonvik {

std::string formatScriptError(const ScriptError& error, const std::string& sourceName) {
  std::string where = sourceName;
  if (error.hasLine()) where += ":" + std::to_string(error.line());
  return "Script error: " + std::string(error.what()) + " (" + where + ")";
}

int runScriptText(Interpreter& interpreter, std::string_view text, const std::string& sourceName,
                  std::ostream& out, std::ostream& err) {
  try {
    interpreter.run(text);
  } catch (const ScriptError& error) {
    // What the script printed before it failed comes first, as it happened.
    out.flush();
    err << formatScriptError(error, sourceName) << '\n';
    return kExitScriptError;
  }
  out.flush();
  return kExitSuccess;
}

std::string sourceNameOf(const std::string& path) {
  auto slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace tonvik
