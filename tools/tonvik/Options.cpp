#include "Options.h"

namespace tonvik {

namespace {

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
    } else if (arg == "--midi") {
      options.midi = parseMidiSystem(value(arg));
    } else if (arg.starts_with("--midi=")) {
      options.midi = parseMidiSystem(arg.substr(sizeof("--midi=") - 1));
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
  return "Usage: tonvik [--midi virtual|jack] [FILE | -e TEXT]\n"
         "\n"
         "Runs a Lingo script with the Xtras in the Xtras folder beside the tool.\n"
         "\n"
         "  FILE            run the script in FILE (\"-\" reads standard input)\n"
         "  -e TEXT         run TEXT; lines are separated by newlines; may be repeated\n"
         "                  with neither, read a script from standard input, or start the\n"
         "                  interactive message window when standard input is a terminal\n"
         "  --midi SYSTEM   the MIDI system: virtual (in-process, the default) or jack\n"
         "  -h, --help      show this help\n"
         "  --version       show the version\n"
         "\n"
         "Every put prints \"-- value\". A script error prints\n"
         "\"Script error: MESSAGE (FILE:LINE)\" on standard error and exits with status 1;\n"
         "a bad command line exits with status 2.\n";
}

}  // namespace tonvik
