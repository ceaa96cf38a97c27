// Lingo message lists to MIDI bytes: what each type sends, every error code in its order, and
// the round trip through the receive path.
#include <string>
#include <vector>

#include "TonvikTestPlatform.h"

namespace {

using ShortSend = RecordingPlatform::ShortSend;
using SysexSend = RecordingPlatform::SysexSend;

class MessageEncodingTest : public TonvikFixture {
 protected:
  std::int32_t send(LingoValue message) {
    const std::size_t live = store_.liveValues();
    const std::int32_t result = platform_.SendMessage(&message);
    EXPECT_EQ(store_.liveValues(), live) << store_.print(message);
    return result;
  }
  // Sends and expects exactly one short message with the given bytes.
  void expectSends(LingoValue message, ShortSend expected) {
    platform_.shortSends.clear();
    EXPECT_EQ(send(message), kErrNone) << store_.print(message);
    ASSERT_EQ(platform_.shortSends.size(), 1u) << store_.print(message);
    EXPECT_EQ(platform_.shortSends[0], expected) << store_.print(message);
  }
  void expectFails(LingoValue message, std::int32_t code) {
    platform_.shortSends.clear();
    platform_.sysexSends.clear();
    EXPECT_EQ(send(message), code) << store_.print(message);
    EXPECT_TRUE(platform_.shortSends.empty()) << store_.print(message);
    EXPECT_TRUE(platform_.sysexSends.empty()) << store_.print(message);
  }
};

// Every type sends its bytes, and the list that receiving those bytes yields, sent back,
// reproduces them; the channel-mode messages arrive without a channel, so their timestamp stands
// where the channel is read and the bytes differ.
TEST_F(MessageEncodingTest, EveryTypeSendsItsBytesAndTheReceivedListSendsThemAgain) {
  struct Case {
    LingoValue message;
    ShortSend bytes;
    bool channelMode = false;
  };
  const Case cases[] = {
      {props({{"type", sym("noteOn")},
              {"channel", num(1)},
              {"number", num(60)},
              {"velocity", num(100)}}),
       {0x90, 0x3C, 0x64, 3}},
      {list({sym("noteOn"), num(16), num(60), num(100)}), {0x9F, 0x3C, 0x64, 3}},
      {list({sym("noteOff"), num(2), num(0), num(127)}), {0x81, 0, 127, 3}},
      {list({sym("polyKeyPressure"), num(3), num(1), num(2)}), {0xA2, 1, 2, 3}},
      {list({sym("controlChange"), num(4), num(121), num(99)}), {0xB3, 121, 99, 3}},
      {list({sym("programChange"), num(5), num(127)}), {0xC4, 127, 0, 2}},
      {list({sym("channelPressure"), num(6), num(64)}), {0xD5, 64, 0, 2}},
      {list({sym("pitchBend"), num(2), num(0)}), {0xE1, 0x00, 0x40, 3}},
      {list({sym("pitchBend"), num(2), num(8191)}), {0xE1, 0x7F, 0x7F, 3}},
      {list({sym("pitchBend"), num(2), num(-8192)}), {0xE1, 0x00, 0x00, 3}},
      {list({sym("localControlOff"), num(1)}), {0xB0, 122, 0, 3}, true},
      {list({sym("localControlOn"), num(16)}), {0xBF, 0x7A, 0x7F, 3}, true},
      {list({sym("allNotesOff"), num(1)}), {0xB0, 0x7B, 0x00, 3}, true},
      {list({sym("omniModeOff"), num(1)}), {0xB0, 124, 0, 3}, true},
      {list({sym("omniModeOn"), num(1)}), {0xB0, 125, 0, 3}, true},
      {list({sym("monoModeOn"), num(1), num(0)}), {0xB0, 0x7E, 0x00, 3}, true},
      {list({sym("polyModeOn"), num(1)}), {0xB0, 127, 0, 3}, true},
      {list({sym("clock")}), {0xF8, 0, 0, 1}},
      {list({sym("start")}), {0xFA, 0, 0, 1}},
      {props({{"type", sym("stop")}}), {0xFC, 0, 0, 1}},
      {props({{"type", sym("continue")}}), {0xFB, 0, 0, 1}},
      {list({sym("activeSensing")}), {0xFE, 0, 0, 1}},
      {list({sym("systemReset")}), {0xFF, 0, 0, 1}},
      {props({{"type", sym("mtcQuarterFrame")}, {"subFrame", num(3)}, {"data", num(5)}}),
       {0xF1, 0x35, 0, 2}},
      {props({{"type", sym("songPositionPointer")}, {"position", num(272)}}),
       {0xF2, 0x10, 0x02, 3}},
      {list({sym("songSelect"), num(5)}), {0xF3, 5, 0, 2}},
      {list({sym("tuneRequest")}), {0xF6, 0, 0, 1}},
      // Values past what the type uses are ignored.
      {list({sym("clock"), str("anything"), num(-1)}), {0xF8, 0, 0, 1}},
  };
  platform_.time = 30;
  for (const Case& c : cases) {
    expectSends(c.message, c.bytes);
    platform_.receiveShort(c.bytes.status, c.bytes.data1, c.bytes.data2);
    LingoValue received = store_.makePropertyList();
    platform_.GetNextMessage(&received);
    platform_.shortSends.clear();
    const std::int32_t again = send(received);
    if (c.channelMode) {
      EXPECT_TRUE(again != kErrNone || platform_.shortSends[0] != c.bytes)
          << store_.print(received);
    } else {
      EXPECT_EQ(again, kErrNone) << store_.print(received);
      EXPECT_EQ(platform_.shortSends, std::vector<ShortSend>{c.bytes}) << store_.print(received);
    }
    store_.release(received);
  }
}

TEST_F(MessageEncodingTest, SystemExclusiveGoesThroughTheSysexOperation) {
  struct Case {
    LingoValue message;
    std::int32_t code;
    std::vector<std::uint8_t> data;
  };
  const Case cases[] = {
      {props({{"type", sym("systemExclusive")},
              {"manufacturerID", num(125)},
              {"data", list({num(1), num(2)})}}),
       kErrNone,
       {1, 2}},
      {list({sym("systemExclusive"), num(125), list({})}), kErrNone, {}},
      {list({sym("systemExclusive"), num(125), num(5)}), kErrInvalidParameterType, {}},
      {list({sym("systemExclusive"), num(125), list({num(1), num(200)})}),
       kErrPropertyOutOfRange,
       {}},
      {list({sym("systemExclusive"), num(125), list({num(1), str("2")})}),
       kErrPropertyNotInteger,
       {}},
      {list({sym("systemExclusive"), num(125)}), kErrMissingProperty, {}},
      {list({sym("systemExclusive"), num(128), list({})}), kErrPropertyOutOfRange, {}},
      {list({sym("systemExclusive")}), kErrMissingProperty, {}},
  };
  for (const Case& c : cases) {
    platform_.sysexSends.clear();
    EXPECT_EQ(send(c.message), c.code) << store_.print(c.message);
    if (c.code == kErrNone) {
      ASSERT_EQ(platform_.sysexSends.size(), 1u);
      EXPECT_EQ(platform_.sysexSends[0], (SysexSend{125, c.data}));
    } else {
      EXPECT_TRUE(platform_.sysexSends.empty());
    }
  }
  EXPECT_TRUE(platform_.shortSends.empty());

  // Received back and sent again, the message reproduces its data.
  platform_.receive({0xF0, 125, 1, 2, 0xF7});
  LingoValue received = store_.makePropertyList();
  platform_.GetNextMessage(&received);
  platform_.sysexSends.clear();
  EXPECT_EQ(send(received), kErrNone);
  EXPECT_EQ(platform_.sysexSends, (std::vector<SysexSend>{{125, {1, 2}}}));
  store_.release(received);
}

TEST_F(MessageEncodingTest, ErrorsInTheirOrder) {
  struct Case {
    LingoValue message;
    std::int32_t code;
  };
  const Case cases[] = {
      {num(42), kErrUnpackingMessage},
      {list({}), kErrUnpackingMessage},
      {props({}), kErrUnpackingMessage},
      {list({str("noteOn"), num(1)}), kErrMessageNotSymbol},
      {list({sym("foo")}), kErrUnknownMessageType},
      {list({sym("voice")}), kErrUnknownMessageType},
      {list({sym("all")}), kErrUnknownMessageType},
      {list({sym("noteOn"), num(0), num(60), num(100)}), kErrPropertyOutOfRange},
      {list({sym("noteOn"), num(17), num(60), num(100)}), kErrPropertyOutOfRange},
      {list({sym("noteOn"), num(-1), num(60), num(100)}), kErrPropertyOutOfRange},
      {list({sym("noteOn"), num(1), num(128), num(100)}), kErrPropertyOutOfRange},
      {list({sym("noteOn"), num(1), num(60), str("loud")}), kErrPropertyNotInteger},
      {list({sym("noteOn"), num(1), num(60)}), kErrMissingProperty},
      // The channel is read and checked first.
      {list({sym("noteOn"), str("1"), num(999)}), kErrPropertyNotInteger},
      {list({sym("noteOn"), num(99)}), kErrPropertyOutOfRange},
      {list({sym("noteOn")}), kErrMissingProperty},
      {list({sym("pitchBend"), num(1), num(8192)}), kErrPropertyOutOfRange},
      {list({sym("pitchBend"), num(1), num(-8193)}), kErrPropertyOutOfRange},
      {list({sym("pitchBend"), num(1), num(std::numeric_limits<std::int32_t>::max())}),
       kErrPropertyOutOfRange},
      {list({sym("pitchBend"), num(1)}), kErrMissingProperty},
      {list({sym("songPositionPointer"), num(16384)}), kErrPropertyOutOfRange},
      {list({sym("songPositionPointer"), num(-1)}), kErrPropertyOutOfRange},
      {list({sym("mtcQuarterFrame"), num(8), num(0)}), kErrPropertyOutOfRange},
      {list({sym("mtcQuarterFrame"), num(7), num(16)}), kErrPropertyOutOfRange},
      {list({sym("monoModeOn"), num(1), num(128)}), kErrPropertyOutOfRange},
      {list({sym("allNotesOff")}), kErrMissingProperty},
      {list({sym("songSelect"), num(128)}), kErrPropertyOutOfRange},
  };
  for (const Case& c : cases) expectFails(c.message, c.code);

  platform_.setOutputOpen(false);
  for (const Case& c : cases) expectFails(c.message, kErrOutputNotOpen);
  expectFails(list({sym("clock")}), kErrOutputNotOpen);
}

TEST_F(MessageEncodingTest, FailingHostReadsGiveTheirCodes) {
  using director::HostOperation;
  struct Case {
    HostOperation failing;
    std::int32_t code;
  };
  const Case cases[] = {
      {HostOperation::GetListItem, kErrUnpackingMessage},
      {HostOperation::ReadSymbolValue, kErrMessageNotSymbol},
      {HostOperation::ReadIntegerValue, kErrPropertyNotInteger},
  };
  for (const Case& c : cases) {
    store_.failNext(c.failing, 1);
    expectFails(list({sym("noteOn"), num(1), num(60), num(100)}), c.code);
    store_.clearFailures();
  }
}

}  // namespace
