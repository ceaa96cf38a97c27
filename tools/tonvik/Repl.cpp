#include "Repl.h"

#include <editline/readline.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "ScriptError.h"
#include "ScriptRunner.h"

namespace tonvik {

namespace {

constexpr const char* kPrompt = "> ";
constexpr const char* kContinuationPrompt = "... ";
constexpr const char* kHistoryFileName = ".tonvik_history";
constexpr int kHistoryLength = 1000;

std::string historyPath() {
  const char* home = std::getenv("HOME");
  return home != nullptr ? std::string(home) + "/" + kHistoryFileName : std::string();
}

// A line from the editor, or nothing at the end of input.
std::optional<std::string> readLine(const char* prompt) {
  std::unique_ptr<char, decltype(&std::free)> line(readline(prompt), &std::free);
  if (!line) return std::nullopt;
  return std::string(line.get());
}

void report(const ScriptError& error, bool multiLine) {
  std::cerr << "Script error: " << error.what();
  if (multiLine && error.hasLine()) std::cerr << " (line " << error.line() << ")";
  std::cerr << std::endl;
}

}  // namespace

int runRepl(Interpreter& interpreter) {
  std::string history = historyPath();
  using_history();
  stifle_history(kHistoryLength);
  if (!history.empty()) read_history(history.c_str());

  std::cout << "Tonvik message window. Type Lingo; a block reads on until its end. Ctrl-D or quit "
               "ends it."
            << std::endl;
  std::string entry;
  int lines = 0;
  while (true) {
    auto line = readLine(entry.empty() ? kPrompt : kContinuationPrompt);
    if (!line) {
      std::cout << std::endl;
      // Ctrl-D inside an unfinished block drops the block; on an empty prompt it quits.
      if (entry.empty()) break;
      entry.clear();
      lines = 0;
      continue;
    }
    if (line->find_first_not_of(" \t") != std::string::npos) add_history(line->c_str());
    entry += *line + "\n";
    ++lines;
    try {
      interpreter.run(entry);
    } catch (const ScriptError& error) {
      if (error.incomplete()) continue;
      std::cout.flush();
      report(error, lines > 1);
    }
    entry.clear();
    lines = 0;
    if (interpreter.quitRequested()) break;
  }
  if (!history.empty()) write_history(history.c_str());
  return kExitSuccess;
}

}  // namespace tonvik
