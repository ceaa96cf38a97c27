// The command line of `tonvik`.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tonvik {

enum class MidiSystem { Virtual, Jack };

struct Options {
  MidiSystem midi = MidiSystem::Virtual;
  // Exactly one source at most; with neither, standard input or the message window.
  std::optional<std::string> scriptFile;
  std::optional<std::string> inlineText;
  // Play the script as a movie even without a frame handler; --frames and --seconds imply it.
  bool movie = false;
  // When play stops by itself; 0 for never.
  std::uint64_t frames = 0;
  double seconds = 0;
  bool showHelp = false;
  bool showVersion = false;
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// `args` without the program name. Throws UsageError.
Options parseOptions(const std::vector<std::string>& args);

std::string usageText();

}  // namespace tonvik
