// tonvik: runs Lingo scripts against the Xtras beside it, from a file, from -e, from standard
// input, or interactively in the message window.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "Container.h"
#include "HostSetup.h"
#include "Interpreter.h"
#include "Options.h"
#include "Repl.h"
#include "ScriptRunner.h"
#include "ScriptThread.h"

namespace {

constexpr const char* kProgram = "tonvik";
constexpr const char* kInlineSourceName = "-e";
constexpr const char* kStdinSourceName = "-";

bool readAll(std::istream& in, std::string& text) {
  std::ostringstream buffer;
  buffer << in.rdbuf();
  text = buffer.str();
  return !in.bad();
}

// Once every variable is gone, nothing should be left: a list still alive or a value an Xtra
// still holds is a leak, said where a user or a test sees it.
void reportLeftovers(const tonvik::HostState& host) {
  if (std::size_t lists = tonvik::liveContainerCount()) {
    std::cerr << kProgram << ": " << lists << " lists still alive at exit\n";
  }
  if (std::size_t values = host.store.liveValues()) {
    std::cerr << kProgram << ": " << values << " Lingo values still held by Xtras at exit\n";
  }
}

int runMain(int argc, char** argv) {
  using namespace tonvik;
  Options options;
  try {
    options = parseOptions(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const UsageError& error) {
    std::cerr << kProgram << ": " << error.what() << "\nTry 'tonvik --help' for more.\n";
    return kExitUsage;
  }
  if (options.showHelp) {
    std::cout << usageText();
    return kExitSuccess;
  }
  if (options.showVersion) {
    std::cout << kProgram << " " << TONVIK_VERSION << "\n";
    return kExitSuccess;
  }

  std::string text;
  std::string sourceName;
  bool interactive = false;
  if (options.inlineText) {
    text = *options.inlineText;
    sourceName = kInlineSourceName;
  } else if (options.scriptFile && *options.scriptFile != "-") {
    std::ifstream file(*options.scriptFile, std::ios::binary);
    // A folder opens like a file on Linux and then reads as nothing.
    std::error_code ignored;
    bool isFolder = std::filesystem::is_directory(*options.scriptFile, ignored);
    if (isFolder || !file || !readAll(file, text)) {
      std::cerr << kProgram << ": cannot read " << *options.scriptFile << ": "
                << std::strerror(isFolder ? EISDIR : errno) << "\n";
      return kExitScriptError;
    }
    sourceName = sourceNameOf(*options.scriptFile);
  } else if (options.scriptFile || !isatty(STDIN_FILENO)) {
    if (!readAll(std::cin, text)) {
      std::cerr << kProgram << ": cannot read standard input\n";
      return kExitScriptError;
    }
    sourceName = kStdinSourceName;
  } else {
    interactive = true;
  }

  Interpreter interpreter(std::cout);
  std::shared_ptr<HostState> host;
  try {
    host = installHost(interpreter, options);
  } catch (const std::exception& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return kExitScriptError;
  }
  int status = interactive ? runRepl(interpreter)
                           : runScriptText(interpreter, text, sourceName, std::cout, std::cerr);
  interpreter.releaseValues();
  reportLeftovers(*host);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  return tonvik::runWithStack(tonvik::kScriptStackBytes, [&] {
    try {
      return runMain(argc, argv);
    } catch (const std::exception& error) {
      std::cerr << kProgram << ": " << error.what() << "\n";
      return tonvik::kExitScriptError;
    }
  });
}
