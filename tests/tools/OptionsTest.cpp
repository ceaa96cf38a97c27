#include "Options.h"

#include <gtest/gtest.h>

namespace tonvik {
namespace {

struct GoodCase {
  std::vector<std::string> args;
  MidiSystem midi;
  std::optional<std::string> file;
  std::optional<std::string> text;
};

class GoodOptions : public testing::TestWithParam<GoodCase> {};

TEST_P(GoodOptions, Parse) {
  Options options = parseOptions(GetParam().args);
  EXPECT_EQ(options.midi, GetParam().midi);
  EXPECT_EQ(options.scriptFile, GetParam().file);
  EXPECT_EQ(options.inlineText, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, GoodOptions,
    testing::Values(
        GoodCase{{}, MidiSystem::Virtual, std::nullopt, std::nullopt},
        GoodCase{{"demo.ls"}, MidiSystem::Virtual, "demo.ls", std::nullopt},
        GoodCase{{"--midi", "jack", "demo.ls"}, MidiSystem::Jack, "demo.ls", std::nullopt},
        GoodCase{{"demo.ls", "--midi=virtual"}, MidiSystem::Virtual, "demo.ls", std::nullopt},
        GoodCase{{"-e", "put 1", "-e", "put 2"}, MidiSystem::Virtual, std::nullopt, "put 1\nput 2"},
        // A script whose name starts with a dash, after "--".
        GoodCase{{"--", "-odd.ls"}, MidiSystem::Virtual, "-odd.ls", std::nullopt},
        GoodCase{{"-"}, MidiSystem::Virtual, "-", std::nullopt}));

struct BadCase {
  std::vector<std::string> args;
  std::string message;
};

class BadOptions : public testing::TestWithParam<BadCase> {};

TEST_P(BadOptions, AreUsageErrors) {
  try {
    parseOptions(GetParam().args);
    FAIL();
  } catch (const UsageError& error) {
    EXPECT_EQ(error.what(), GetParam().message);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BadOptions,
    testing::Values(BadCase{{"--midi", "alsa"},
                            "unknown MIDI system \"alsa\" (use virtual or jack)"},
                    BadCase{{"--midi"}, "--midi needs a value"},
                    BadCase{{"-e"}, "-e needs a value"},
                    BadCase{{"--verbose"}, "unknown option \"--verbose\""},
                    BadCase{{"a.ls", "b.ls"}, "unexpected argument \"b.ls\""},
                    BadCase{{"a.ls", "-e", "put 1"}, "give either a script file or -e, not both"}));

TEST(Options, HelpAndVersionAreFlags) {
  EXPECT_TRUE(parseOptions({"--help"}).showHelp);
  EXPECT_TRUE(parseOptions({"-h"}).showHelp);
  EXPECT_TRUE(parseOptions({"--version"}).showVersion);
}

}  // namespace
}  // namespace tonvik
