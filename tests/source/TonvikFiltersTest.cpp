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
    {"noteOff", "voice", 0x80, 60, 64, true},  {"noteOn", "voice", 0x90, 60, 64, true},
    {"noteOff", "voice", 0x90, 60, 0, true},  // velocity 0 is judged as a note-off
    {"polyKeyPressure", "voice", 0xA0, 60, 5}, {"controlChange", "voice", 0xB0, 7, 1},
    {"controlChange", "voice", 0xB0, 121, 0},  {"programChange", "voice", 0xC0, 1, 0},
    {"channelPressure", "voice", 0xD0, 1, 0},  {"pitchBend", "voice", 0xE0, 0, 0x40},
    {"localControlOff", "mode", 0xB0, 122, 0}, {"localControlOn", "mode", 0xB0, 122, 127},
    {"allNotesOff", "mode", 0xB0, 123, 0},     {"omniModeOff", "mode", 0xB0, 124, 0},
    {"omniModeOn", "mode", 0xB0, 125, 0},      {"monoModeOn", "mode", 0xB0, 126, 1},
    {"polyModeOn", "mode", 0xB0, 127, 0},
};
const Kind& kNoteOff = kChannelKinds[0];
const Kind& kNoteOn = kChannelKinds[1];

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
  return filter == kind.group || filter == kind.symbol;
}

class FiltersTest : public TonvikFixture {
 protected:
  // Whether the kind, received on the channel, enters the queue; leaves the queue empty.
  bool passes(const Kind& kind, int channel = 1) {
    if (kind.status == 0xF0) {
      platform_.receive({0xF0, kind.data1, 0xF7});
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
    return std::all_of(std::begin(kChannelKinds), std::end(kChannelKinds),
                       [&](const Kind& kind) { return passes(kind, channel); });
  }
  std::int32_t channelFilter(LingoValue types, LingoValue channels) {
    const std::size_t live = store_.liveValues();
    const std::int32_t result = platform_.SetChannelFilter(&types, &channels);
    EXPECT_EQ(store_.liveValues(), live);
    return result;
  }
};

TEST_F(FiltersTest, EveryKindPassesByExactlyItsBit) {
  std::vector<std::string> channelFilters = {"all", "none", "note", "voice", "mode"};
  for (const Kind& kind : kChannelKinds) channelFilters.push_back(kind.symbol);
  for (const std::string& filter : channelFilters) {
    ASSERT_EQ(channelFilter(sym(filter.c_str()), num(3)), kErrNone) << filter;
    for (const Kind& kind : kChannelKinds) {
      EXPECT_EQ(passes(kind, 3), admits(filter, kind))
          << "filter #" << filter << ", message #" << kind.symbol << " " << int(kind.data1);
    }
    EXPECT_TRUE(channelOpenToEverything(4)) << filter;
  }
  ASSERT_EQ(channelFilter(sym("all"), num(0)), kErrNone);

  std::vector<std::string> systemFilters = {"all", "none", "realTime", "common"};
  for (const Kind& kind : kSystemKinds) systemFilters.push_back(kind.symbol);
  for (const std::string& filter : systemFilters) {
    ASSERT_EQ(systemFilter(sym(filter.c_str())), kErrNone) << filter;
    for (const Kind& kind : kSystemKinds) {
      EXPECT_EQ(passes(kind), admits(filter, kind))
          << "filter #" << filter << ", message #" << kind.symbol;
    }
    EXPECT_TRUE(channelOpenToEverything(1)) << filter;
  }
  EXPECT_FALSE(platform_.InputOverflowed());
}

// Lists of types and channels, and #all restoring everything, are run by xtra_filters.ls.
TEST_F(FiltersTest, BadChannelsChangeNothing) {
  ASSERT_EQ(channelFilter(sym("noteOn"), num(5)), kErrNone);
  const std::pair<LingoValue, std::int32_t> cases[] = {
      {num(17), kErrParameterOutOfRange},
      {list({num(1), num(17), num(2)}), kErrParameterOutOfRange},
      {list({num(1), str("2")}), kErrInvalidParameterValue},
      {list({str("2"), num(99)}), kErrParameterOutOfRange},
      {str("1"), kErrInvalidParameterType},
      {props({{"a", num(1)}}), kErrInvalidParameterType},
      {list({}), kErrNone},
  };
  for (const auto& [channels, code] : cases) {
    EXPECT_EQ(channelFilter(sym("none"), channels), code) << store_.print(channels);
    EXPECT_TRUE(channelOpenToEverything(1));
    EXPECT_TRUE(passes(kNoteOn, 5));
    EXPECT_FALSE(passes(kNoteOff, 5));
  }
}

TEST_F(FiltersTest, BadTypesLeaveTheChosenChannelsWithWhatGoodSymbolsNamed) {
  const struct {
    LingoValue types;
    std::int32_t code;
    bool noteOnPasses;
  } cases[] = {
      {sym("clock"), kErrUnknownMessageType, false},
      {list({}), kErrNone, false},
      {list({sym("noteOn"), num(3)}), kErrInvalidParameterType, true},
      {list({sym("foo"), sym("noteOn"), str("x")}), kErrInvalidParameterType, true},
      {list({str("x"), sym("noteOn"), sym("foo")}), kErrUnknownMessageType, true},
      {props({{"type", sym("noteOn")}}), kErrInvalidParameterType, false},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(channelFilter(sym("all"), num(0)), kErrNone);
    EXPECT_EQ(channelFilter(c.types, num(1)), c.code) << store_.print(c.types);
    EXPECT_EQ(passes(kNoteOn, 1), c.noteOnPasses) << store_.print(c.types);
    EXPECT_FALSE(passes(kNoteOff, 1)) << store_.print(c.types);
    EXPECT_TRUE(channelOpenToEverything(2));
  }
}

TEST_F(FiltersTest, SystemFilterClosesEverySystemMessageBeforeLookingAtItsArgument) {
  const struct {
    LingoValue types;
    std::int32_t code;
    std::vector<std::uint8_t> open;
  } cases[] = {
      {list({sym("clock"), sym("foo"), sym("start")}), kErrUnknownMessageType, {0xF8, 0xFA}},
      {list({sym("clock"), num(3)}), kErrInvalidParameterType, {0xF8}},
      {num(3), kErrInvalidParameterType, {}},
      {sym("noteOn"), kErrUnknownMessageType, {}},
      {list({}), kErrNone, {}},
      {sym("realTime"), kErrNone, {0xF8, 0xFA, 0xFB, 0xFC, 0xFE, 0xFF}},
  };
  for (const auto& c : cases) {
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

TEST_F(FiltersTest, FilteredSysexClaimsNoRoomAndFilteredMessagesAreNotHeldDuringOne) {
  ASSERT_EQ(systemFilter(sym("realTime")), kErrNone);
  platform_.receive({0xF0, 0x7D, 0x01});
  platform_.receiveMore({0x02});
  platform_.receiveMore({0xF7});
  std::vector<std::uint8_t> larger(5000, 0x33);
  larger.front() = 0xF0;
  larger.back() = 0xF7;
  platform_.receive(larger);
  platform_.receiveShort(0xF8);
  EXPECT_FALSE(platform_.InputOverflowed());
  EXPECT_EQ(pending(), "[[#type: #clock, #timestamp: 0]]");

  // More filtered messages than the hold buffer takes, during an admitted sysex.
  ASSERT_EQ(systemFilter(list({sym("clock"), sym("systemExclusive")})), kErrNone);
  platform_.receive({0xF0, 0x7D});
  for (int i = 0; i < 100; ++i) platform_.receiveShort(0xFE);
  platform_.receiveShort(0xF8);
  platform_.receiveMore({0xF7});
  EXPECT_FALSE(platform_.InputOverflowed());
  EXPECT_EQ(pending(),
            "[[#type: #systemExclusive, #manufacturerID: 125, #data: [], #timestamp: 0], "
            "[#type: #clock, #timestamp: 0]]");
}

TEST_F(FiltersTest, FailingHostReadsGiveTheirCodes) {
  using director::HostOperation;
  const struct {
    HostOperation failing;
    bool channelFilter;
    LingoValue types;
    LingoValue channels;
    std::int32_t code;
  } cases[] = {
      {HostOperation::ReadSymbolValue, false, sym("clock"), {}, kErrInvalidParameterValue},
      {HostOperation::GetListItem, false, list({sym("clock")}), {}, kErrInvalidParameterValue},
      {HostOperation::ReadSymbolValue, false, list({sym("clock")}), {}, kErrInvalidParameterType},
      {HostOperation::ReadIntegerValue, true, sym("note"), num(1), kErrInvalidParameterValue},
      {HostOperation::GetListItem, true, sym("note"), list({num(1)}), kErrInvalidParameterType},
      {HostOperation::ReadIntegerValue, true, sym("note"), list({num(1)}),
       kErrInvalidParameterValue},
  };
  for (const auto& c : cases) {
    store_.failNext(c.failing, 1);
    EXPECT_EQ(c.channelFilter ? channelFilter(c.types, c.channels) : systemFilter(c.types), c.code)
        << static_cast<int>(c.failing);
    store_.clearFailures();
  }
}

}  // namespace
