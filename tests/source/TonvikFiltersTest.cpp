// The input filters: every message kind passes or fails by exactly its own bit, and what the
// host's failures make of a call. The argument forms, their error codes, what a bad argument
// leaves behind, and filtered system-exclusive messages are run by xtra_filters.ls.
#include <algorithm>
#include <string>
#include <vector>

#include "MessageKinds.h"
#include "TonvikTestPlatform.h"

namespace {

// The short kinds of the conversion table, and system-exclusive, which arrives its own way.
std::vector<MessageKind> kindsWhere(bool channelKinds) {
  std::vector<MessageKind> kinds;
  for (const MessageKind& kind : messageKinds()) {
    if (kind.channelKind() == channelKinds) kinds.push_back(kind);
  }
  if (!channelKinds)
    kinds.push_back({"", {}, 0xF0, 0x7D, 0, 0, "common", "[#type: #systemExclusive,"});
  return kinds;
}
const std::vector<MessageKind> kChannelKinds = kindsWhere(true);
const std::vector<MessageKind> kSystemKinds = kindsWhere(false);

bool admits(const std::string& filter, const MessageKind& kind) {
  if (filter == "all") return true;
  if (filter == "none") return false;
  if (filter == "note") return kind.kind() == "noteOn" || kind.kind() == "noteOff";
  return filter == kind.group || filter == kind.kind();
}

class FiltersTest : public TonvikFixture {
 protected:
  // Whether the kind, received on the channel, enters the queue; leaves the queue empty.
  bool passes(const MessageKind& kind, int channel = 1) {
    if (kind.status == 0xF0) {
      platform_.receive({0xF0, kind.data1, 0xF7});
    } else {
      const std::uint8_t status =
          kind.channelKind() ? static_cast<std::uint8_t>(kind.status | (channel - 1)) : kind.status;
      platform_.receiveShort(status, kind.data1, kind.data2);
    }
    const bool passed = platform_.MessagesPending();
    platform_.FlushInput();
    return passed;
  }
  bool channelOpenToEverything(int channel) {
    return std::all_of(std::begin(kChannelKinds), std::end(kChannelKinds),
                       [&](const MessageKind& kind) { return passes(kind, channel); });
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
  for (const MessageKind& kind : kChannelKinds) channelFilters.push_back(kind.kind());
  for (const std::string& filter : channelFilters) {
    ASSERT_EQ(channelFilter(sym(filter.c_str()), num(3)), kErrNone) << filter;
    for (const MessageKind& kind : kChannelKinds) {
      EXPECT_EQ(passes(kind, 3), admits(filter, kind))
          << "filter #" << filter << ", " << kind.received;
    }
    EXPECT_TRUE(channelOpenToEverything(4)) << filter;
  }
  ASSERT_EQ(channelFilter(sym("all"), num(0)), kErrNone);

  std::vector<std::string> systemFilters = {"all", "none", "realTime", "common"};
  for (const MessageKind& kind : kSystemKinds) systemFilters.push_back(kind.kind());
  for (const std::string& filter : systemFilters) {
    ASSERT_EQ(systemFilter(sym(filter.c_str())), kErrNone) << filter;
    for (const MessageKind& kind : kSystemKinds) {
      EXPECT_EQ(passes(kind), admits(filter, kind))
          << "filter #" << filter << ", " << kind.received;
    }
    EXPECT_TRUE(channelOpenToEverything(1)) << filter;
  }
  EXPECT_FALSE(platform_.InputOverflowed());
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
