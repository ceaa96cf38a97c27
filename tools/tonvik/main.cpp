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

#include "HostSetup.h"
#include "Interpreter.h"
#include "Options.h"
#include "Repl.h"
#include "ScriptRunner.h"

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
  try {
    installHost(interpreter, options);
  } catch (const std::exception& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return kExitScriptError;
  }
  if (interactive) return runRepl(interpreter);
  return runScriptText(interpreter, text, sourceName, std::cout, std::cerr);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return runMain(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return tonvik::kExitScriptError;
  }
}
