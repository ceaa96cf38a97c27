#include "ScriptRunner.h"

#include <ostream>

namespace tonvik {

int runScriptText(Interpreter& interpreter, std::string_view text, const std::string& sourceName,
                  std::ostream& out, std::ostream& err) {
  try {
    interpreter.run(text);
  } catch (const ScriptError& error) {
    // What the script printed before it failed comes first, as it happened.
    out.flush();
    // Written piece by piece: after "Out of memory" there may be no room to build the line.
    err << "Script error: " << error.what() << " (" << sourceName;
    if (error.hasLine()) err << ':' << error.line();
    err << ")\n";
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
