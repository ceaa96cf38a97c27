#include "Options.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace tonvik {

namespace {

// About 31 years: longer runs are not meant, and the time stays far from any overflow.
constexpr double kMaxSeconds = 1e9;

std::uint64_t parseFrames(const std::string& text) {
  std::uint64_t frames = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), frames);
  if (error != std::errc() || end != text.data() + text.size() || frames == 0) {
    throw UsageError("--frames needs a whole number of frames, at least 1, not \"" + text + "\"");
  }
  return frames;
}

double parseSeconds(const std::string& text) {
  char* end = nullptr;
  double seconds = text.empty() ? NAN : std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(seconds > 0 && seconds <= kMaxSeconds)) {
    throw UsageError("--seconds needs a number of seconds above 0, not \"" + text + "\"");
  }
  return seconds;
}

MidiSystem parseMidiSystem(const std::string& name) {
  if (name == "virtual") return MidiSystem::Virtual;
  if (name == "jack") return MidiSystem::Jack;
  throw UsageError("unknown MIDI system \"" + name + "\" (use virtual or jack)");
}

}  // namespace

Options parseOptions(const std::vector<std::string>& args) {
  Options options;
  bool optionsEnded = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    auto value = [&](const std::string& option) -> const std::string& {
      if (i + 1 >= args.size()) throw UsageError(option + " needs a value");
      return args[++i];
    };
    // The value of `--name VALUE` or `--name=VALUE`, when `arg` is that option.
    std::string inlineValue;
    auto longOption = [&](const std::string& name) -> const std::string* {
      if (arg == name) return &value(arg);
      if (!arg.starts_with(name + "=")) return nullptr;
      inlineValue = arg.substr(name.size() + 1);
      return &inlineValue;
    };
    bool isOption = !optionsEnded && arg.size() > 1 && arg[0] == '-';
    if (!isOption) {
      if (options.scriptFile) throw UsageError("unexpected argument \"" + arg + "\"");
      options.scriptFile = arg;
    } else if (arg == "--") {
      optionsEnded = true;
    } else if (arg == "-h" || arg == "--help") {
      options.showHelp = true;
    } else if (arg == "--version") {
      options.showVersion = true;
    } else if (arg == "-e") {
      // Several -e texts run as one script, one after the other.
      const std::string& text = value(arg);
      options.inlineText = options.inlineText ? *options.inlineText + "\n" + text : text;
    } else if (const std::string* midi = longOption("--midi")) {
      options.midi = parseMidiSystem(*midi);
    } else if (arg == "--movie") {
      options.movie = true;
    } else if (const std::string* frames = longOption("--frames")) {
      options.frames = parseFrames(*frames);
      options.movie = true;
    } else if (const std::string* seconds = longOption("--seconds")) {
      options.seconds = parseSeconds(*seconds);
      options.movie = true;
    } else {
      throw UsageError("unknown option \"" + arg + "\"");
    }
  }
  if (options.scriptFile && options.inlineText) {
    throw UsageError("give either a script file or -e, not both");
  }
  return options;
}

std::string usageText() {
  return "Usage: tonvik [--midi virtual|jack] [--movie] [--frames N] [--seconds S]\n"
         "              [FILE | -e TEXT]\n"
         "\n"
         "Runs a Lingo script with the Xtras in the Xtras folder beside the tool.\n"
         "\n"
         "  FILE            run the script in FILE (\"-\" reads standard input)\n"
         "  -e TEXT         run TEXT; lines are separated by newlines; may be repeated\n"
         "                  with neither, read a script from standard input, or start the\n"
         "                  interactive message window when standard input is a terminal\n"
         "  --midi SYSTEM   the MIDI system: virtual (in-process, the default) or jack\n"
         "  --movie         play the script as a movie even if it has no frame handler\n"
         "  --frames N      stop playing after N frames\n"
         "  --seconds S     stop playing S seconds after the first frame began\n"
         "  -h, --help      show this help\n"
         "  --version       show the version\n"
         "\n"
         "A script that defines on enterFrame or on exitFrame is a movie script. After its\n"
         "top-level statements, prepareMovie and startMovie run, then frames play at the\n"
         "movie's tempo (30 a second unless puppetTempo changes it): prepareFrame,\n"
         "enterFrame, the run loop, exitFrame. Play stops on halt or quit, on Ctrl-C or\n"
         "SIGTERM (a second one ends the tool at once), or at the limits above; then\n"
         "stopMovie runs.\n"
         "\n"
         "Every put prints \"-- value\". A script error prints\n"
         "\"Script error: MESSAGE (FILE:LINE)\" on standard error and exits with status 1;\n"
         "a bad command line exits with status 2.\n";
}

}  // namespace tonvik
