// The input filters: every message kind passes or fails by exactly its own bit, the argument
// forms and their error codes, and what a failing call leaves behind.
#include <algorithm>
#include <string>
#include <vector>

#include "TonvikTestPlatform.h"

namespace {

struct Kind {
  const char* symbol;
  const char* group;  // "voice" or "mode" for channel kinds, "realTime" or "common" for system
  std::uint8_t status, data1, data2;
  bool note = false;
};

const Kind kChannelKinds[] = {
    {"noteOff", "voice", 0x80, 60, 64, true},   {"noteOn", "voice", 0x90, 60, 64, true},
    {"noteOff", "voice", 0x90, 60, 0, true},  // velocity 0 is judged as a note-off
    {"polyKeyPressure", "voice", 0xA0, 60, 5},  {"controlChange", "voice", 0xB0, 7, 1},
    {"controlChange", "voice", 0xB0, 120, 0},   {"controlChange", "voice", 0xB0, 121, 0},
    {"programChange", "voice", 0xC0, 1, 0},     {"channelPressure", "voice", 0xD0, 1, 0},
    {"pitchBend", "voice", 0xE0, 0, 0x40},      {"localControlOff", "mode", 0xB0, 122, 0},
    {"localControlOn", "mode", 0xB0, 122, 127}, {"allNotesOff", "mode", 0xB0, 123, 0},
    {"omniModeOff", "mode", 0xB0, 124, 0},      {"omniModeOn", "mode", 0xB0, 125, 0},
    {"monoModeOn", "mode", 0xB0, 126, 1},       {"polyModeOn", "mode", 0xB0, 127, 0},
};

const Kind kSystemKinds[] = {
    {"mtcQuarterFrame", "common", 0xF1, 0x35, 0},
    {"songPositionPointer", "common", 0xF2, 1, 2},
    {"songSelect", "common", 0xF3, 1, 0},
    {"tuneRequest", "common", 0xF6, 0, 0},
    {"systemExclusive", "common", 0xF0, 0x7D, 0},
    {"clock", "realTime", 0xF8, 0, 0},
    {"start", "realTime", 0xFA, 0, 0},
    {"continue", "realTime", 0xFB, 0, 0},
    {"stop", "realTime", 0xFC, 0, 0},
    {"activeSensing", "realTime", 0xFE, 0, 0},
    {"systemReset", "realTime", 0xFF, 0, 0},
};

bool admits(const std::string& filter, const Kind& kind) {
  if (filter == "all") return true;
  if (filter == "none") return false;
  if (filter == "note") return kind.note;
  if (filter == "voice" || filter == "mode" || filter == "realTime" || filter == "common") {
    return filter == kind.group;
  }
  return filter == kind.symbol;
}

class FiltersTest : public TonvikFixture {
 protected:
  // Whether the kind, received on the channel, enters the queue; leaves the queue empty.
  bool passes(const Kind& kind, int channel = 1) {
    if (kind.status == 0xF0) {
      const std::uint8_t bytes[] = {0xF0, kind.data1, 0xF7};
      platform_.ReceiveSysexStart(bytes, sizeof(bytes), 0);
    } else {
      const std::uint8_t status =
          kind.status < 0xF0 ? static_cast<std::uint8_t>(kind.status | (channel - 1)) : kind.status;
      platform_.receiveShort(status, kind.data1, kind.data2);
    }
    const bool passed = platform_.MessagesPending();
    platform_.FlushInput();
    return passed;
  }
  bool channelOpenToEverything(int channel) {
    for (const Kind& kind : kChannelKinds) {
      if (!passes(kind, channel)) return false;
    }
    return true;
  }
  bool allOpen() {
    for (int byte = 0; byte < 16; ++byte) {
      if (TonvikBaseInspector::statusFilter(platform_, byte) != 0xFF ||
          TonvikBaseInspector::modeFilter(platform_, byte) != 0xFF) {
        return false;
      }
    }
    return true;
  }
  std::int32_t channelFilter(LingoValue types, LingoValue channels) {
    const std::size_t live = store_.liveValues();
    const std::int32_t result = platform_.SetChannelFilter(&types, &channels);
    EXPECT_EQ(store_.liveValues(), live);
    return result;
  }
  std::int32_t systemFilter(LingoValue types) {
    const std::size_t live = store_.liveValues();
    const std::int32_t result = platform_.SetSystemFilter(&types);
    EXPECT_EQ(store_.liveValues(), live);
    return result;
  }
};

TEST_F(FiltersTest, EveryChannelKindPassesByExactlyItsBit) {
  const char* filters[] = {"all",
                           "none",
                           "note",
                           "voice",
                           "mode",
                           "noteOff",
                           "noteOn",
                           "polyKeyPressure",
                           "controlChange",
                           "programChange",
                           "channelPressure",
                           "pitchBend",
                           "localControlOff",
                           "localControlOn",
                           "allNotesOff",
                           "omniModeOff",
                           "omniModeOn",
                           "monoModeOn",
                           "polyModeOn"};
  for (const char* filter : filters) {
    ASSERT_EQ(channelFilter(sym(filter), num(3)), kErrNone) << filter;
    for (const Kind& kind : kChannelKinds) {
      EXPECT_EQ(passes(kind, 3), admits(filter, kind))
          << "filter #" << filter << ", message #" << kind.symbol << " " << int(kind.data1);
    }
    EXPECT_TRUE(channelOpenToEverything(4)) << filter;
    EXPECT_FALSE(platform_.InputOverflowed());
  }
}

TEST_F(FiltersTest, EverySystemKindPassesByExactlyItsBit) {
  const char* filters[] = {"all",           "none",        "realTime",        "common",
                           "clock",         "start",       "continue",        "stop",
                           "activeSensing", "systemReset", "mtcQuarterFrame", "songPositionPointer",
                           "songSelect",    "tuneRequest", "systemExclusive"};
  for (const char* filter : filters) {
    ASSERT_EQ(systemFilter(sym(filter)), kErrNone) << filter;
    for (const Kind& kind : kSystemKinds) {
      EXPECT_EQ(passes(kind), admits(filter, kind))
          << "filter #" << filter << ", message #" << kind.symbol;
    }
    EXPECT_TRUE(channelOpenToEverything(1)) << filter;
  }
}

TEST_F(FiltersTest, AllRestoresTheInitialState) {
  ASSERT_EQ(systemFilter(sym("none")), kErrNone);
  ASSERT_EQ(channelFilter(list({sym("noteOn")}), list({num(1), num(16)})), kErrNone);
  EXPECT_EQ(systemFilter(sym("all")), kErrNone);
  EXPECT_EQ(channelFilter(sym("all"), num(0)), kErrNone);
  EXPECT_TRUE(allOpen());
}

TEST_F(FiltersTest, ListsOfTypesAndChannels) {
  ASSERT_EQ(channelFilter(list({sym("noteOn"), sym("noteOff")}), list({num(1), num(2)})), kErrNone);
  for (int channel : {1, 2}) {
    for (const Kind& kind : kChannelKinds) {
      EXPECT_EQ(passes(kind, channel), kind.note) << kind.symbol << " on " << channel;
    }
  }
  for (int channel = 3; channel <= 16; ++channel) EXPECT_TRUE(channelOpenToEverything(channel));

  ASSERT_EQ(channelFilter(sym("mode"), num(0)), kErrNone);
  for (int channel = 1; channel <= 16; ++channel) {
    EXPECT_FALSE(passes(kChannelKinds[4], channel));
    EXPECT_TRUE(passes(kChannelKinds[12], channel));
  }
}

TEST_F(FiltersTest, BadChannelsChangeNothing) {
  struct Case {
    LingoValue channels;
    std::int32_t code;
  };
  ASSERT_EQ(channelFilter(sym("noteOn"), num(5)), kErrNone);
  const Case cases[] = {
      {num(17), kErrParameterOutOfRange},
      {num(-1), kErrParameterOutOfRange},
      {list({num(0)}), kErrParameterOutOfRange},
      {list({num(1), num(17), num(2)}), kErrParameterOutOfRange},
      {list({num(1), str("2")}), kErrInvalidParameterValue},
      {list({str("2"), num(99)}), kErrParameterOutOfRange},
      {str("1"), kErrInvalidParameterType},
      {props({{"a", num(1)}}), kErrInvalidParameterType},
      {sym("all"), kErrInvalidParameterType},
      {list({}), kErrNone},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(channelFilter(sym("none"), c.channels), c.code) << store_.print(c.channels);
    EXPECT_TRUE(channelOpenToEverything(1));
    EXPECT_TRUE(passes(kChannelKinds[1], 5));
    EXPECT_FALSE(passes(kChannelKinds[0], 5));
  }
}

TEST_F(FiltersTest, BadTypesLeaveTheChosenChannelsWithWhatGoodSymbolsNamed) {
  struct Case {
    LingoValue types;
    std::int32_t code;
    bool noteOnPasses;
  };
  const Case cases[] = {
      {sym("foo"), kErrUnknownMessageType, false},
      {num(5), kErrInvalidParameterType, false},
      {sym("clock"), kErrUnknownMessageType, false},
      {list({}), kErrNone, false},
      {list({sym("noteOn"), num(3)}), kErrInvalidParameterType, true},
      {list({sym("foo"), sym("noteOn"), str("x")}), kErrInvalidParameterType, true},
      {list({str("x"), sym("noteOn"), sym("foo")}), kErrUnknownMessageType, true},
      {props({{"type", sym("noteOn")}}), kErrInvalidParameterType, false},
  };
  for (const Case& c : cases) {
    ASSERT_EQ(channelFilter(sym("all"), num(0)), kErrNone);
    EXPECT_EQ(channelFilter(c.types, num(1)), c.code) << store_.print(c.types);
    EXPECT_EQ(passes(kChannelKinds[1], 1), c.noteOnPasses) << store_.print(c.types);
    EXPECT_FALSE(passes(kChannelKinds[0], 1)) << store_.print(c.types);
    EXPECT_TRUE(channelOpenToEverything(2));
  }
}

TEST_F(FiltersTest, SystemFilterClosesEverySystemMessageBeforeLookingAtItsArgument) {
  struct Case {
    LingoValue types;
    std::int32_t code;
    std::vector<std::uint8_t> open;
  };
  const Case cases[] = {
      {list({sym("clock"), sym("foo"), sym("start")}), kErrUnknownMessageType, {0xF8, 0xFA}},
      {list({sym("clock"), num(3)}), kErrInvalidParameterType, {0xF8}},
      {num(3), kErrInvalidParameterType, {}},
      {sym("noteOn"), kErrUnknownMessageType, {}},
      {sym("none"), kErrNone, {}},
      {list({}), kErrNone, {}},
      {sym("stop"), kErrNone, {0xFC}},
      {sym("continue"), kErrNone, {0xFB}},
      {sym("realTime"), kErrNone, {0xF8, 0xFA, 0xFB, 0xFC, 0xFE, 0xFF}},
  };
  for (const Case& c : cases) {
    ASSERT_EQ(systemFilter(sym("all")), kErrNone);
    EXPECT_EQ(systemFilter(c.types), c.code) << store_.print(c.types);
    for (const Kind& kind : kSystemKinds) {
      const bool expected = std::find(c.open.begin(), c.open.end(), kind.status) != c.open.end();
      EXPECT_EQ(passes(kind), expected) << store_.print(c.types) << " " << kind.symbol;
    }
    EXPECT_TRUE(channelOpenToEverything(1));
  }
  // Status bytes that are never queued keep their bits.
  EXPECT_EQ(TonvikBaseInspector::statusFilter(platform_, 4) & 0x80, 0x80);
  EXPECT_EQ(TonvikBaseInspector::statusFilter(platform_, 13) & 0x80, 0x80);
}

TEST_F(FiltersTest, FailingHostReadsGiveTheirCodes) {
  using director::HostOperation;
  struct Case {
    HostOperation failing;
    bool channelFilter;
    LingoValue types;
    LingoValue channels;
    std::int32_t code;
  };
  const Case cases[] = {
      {HostOperation::ReadSymbolValue, false, sym("clock"), {}, kErrInvalidParameterValue},
      {HostOperation::GetListItem, false, list({sym("clock")}), {}, kErrInvalidParameterValue},
      {HostOperation::ReadSymbolValue, false, list({sym("clock")}), {}, kErrInvalidParameterType},
      {HostOperation::ReadIntegerValue, true, sym("note"), num(1), kErrInvalidParameterValue},
      {HostOperation::GetListItem, true, sym("note"), list({num(1)}), kErrInvalidParameterType},
      {HostOperation::ReadIntegerValue, true, sym("note"), list({num(1)}),
       kErrInvalidParameterValue},
  };
  for (const Case& c : cases) {
    store_.failNext(c.failing, 1);
    const std::int32_t code =
        c.channelFilter ? channelFilter(c.types, c.channels) : systemFilter(c.types);
    EXPECT_EQ(code, c.code) << static_cast<int>(c.failing);
    store_.clearFailures();
  }
}

}  // namespace
