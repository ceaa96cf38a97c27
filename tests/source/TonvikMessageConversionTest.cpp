// Lingo message lists to MIDI bytes and back: what each type sends, what receiving those bytes
// yields, every error code in its order, and the census after every call.
#include <limits>
#include <string>
#include <vector>

#include "TonvikTestPlatform.h"

namespace {

using ShortSend = RecordingPlatform::ShortSend;
using SysexSend = RecordingPlatform::SysexSend;

class MessageConversionTest : public TonvikFixture {
 protected:
  std::int32_t send(LingoValue message) {
    const std::size_t live = store_.liveValues();
    const std::int32_t result = platform_.SendMessage(&message);
    EXPECT_EQ(store_.liveValues(), live) << store_.print(message);
    return result;
  }
  void expectFails(LingoValue message, std::int32_t code) {
    platform_.shortSends.clear();
    platform_.sysexSends.clear();
    EXPECT_EQ(send(message), code) << store_.print(message);
    EXPECT_TRUE(platform_.shortSends.empty()) << store_.print(message);
    EXPECT_TRUE(platform_.sysexSends.empty()) << store_.print(message);
  }
};

// Each list sends its bytes; receiving them yields the list shown; sent back, that list
// reproduces the bytes, except where receiving loses what sending needs (the channel of a
// channel-mode message, a note-on of velocity 0).
TEST_F(MessageConversionTest, EveryTypeSendsItsBytesAndReceivesAsTheListThatSendsThemAgain) {
  const struct {
    LingoValue message;
    ShortSend bytes;
    const char* received;
    bool sameAgain = true;
  } cases[] = {
      {props({{"type", sym("noteOn")},
              {"channel", num(1)},
              {"number", num(60)},
              {"velocity", num(100)}}),
       {0x90, 0x3C, 0x64, 3},
       "[#type: #noteOn, #channel: 1, #number: 60, #velocity: 100"},
      {list({sym("noteOn"), num(16), num(61), num(0)}),
       {0x9F, 61, 0, 3},
       "[#type: #noteOff, #channel: 16, #number: 61, #velocity: 0",
       false},
      {list({sym("noteOff"), num(2), num(0), num(127)}),
       {0x81, 0, 127, 3},
       "[#type: #noteOff, #channel: 2, #number: 0, #velocity: 127"},
      {list({sym("polyKeyPressure"), num(3), num(1), num(2)}),
       {0xA2, 1, 2, 3},
       "[#type: #polyKeyPressure, #channel: 3, #number: 1, #pressure: 2"},
      {list({sym("controlChange"), num(4), num(121), num(99)}),
       {0xB3, 121, 99, 3},
       "[#type: #controlChange, #channel: 4, #number: 121, #value: 99"},
      {list({sym("programChange"), num(5), num(127)}),
       {0xC4, 127, 0, 2},
       "[#type: #programChange, #channel: 5, #number: 127"},
      {list({sym("channelPressure"), num(6), num(64)}),
       {0xD5, 64, 0, 2},
       "[#type: #channelPressure, #channel: 6, #number: 64"},
      {list({sym("pitchBend"), num(2), num(0)}),
       {0xE1, 0x00, 0x40, 3},
       "[#type: #pitchBend, #channel: 2, #amount: 0"},
      {list({sym("pitchBend"), num(2), num(8191)}),
       {0xE1, 0x7F, 0x7F, 3},
       "[#type: #pitchBend, #channel: 2, #amount: 8191"},
      {list({sym("pitchBend"), num(2), num(-8192)}),
       {0xE1, 0x00, 0x00, 3},
       "[#type: #pitchBend, #channel: 2, #amount: -8192"},
      {list({sym("localControlOff"), num(1)}),
       {0xB0, 122, 0, 3},
       "[#type: #localControlOff",
       false},
      {list({sym("localControlOn"), num(16)}),
       {0xBF, 122, 127, 3},
       "[#type: #localControlOn",
       false},
      {list({sym("allNotesOff"), num(1)}), {0xB0, 123, 0, 3}, "[#type: #allNotesOff", false},
      {list({sym("omniModeOff"), num(1)}), {0xB0, 124, 0, 3}, "[#type: #omniModeOff", false},
      {list({sym("omniModeOn"), num(1)}), {0xB0, 125, 0, 3}, "[#type: #omniModeOn", false},
      {list({sym("monoModeOn"), num(1), num(4)}),
       {0xB0, 126, 4, 3},
       "[#type: #monoModeOn, #numChannels: 4",
       false},
      {list({sym("polyModeOn"), num(1)}), {0xB0, 127, 0, 3}, "[#type: #polyModeOn", false},
      {list({sym("clock")}), {0xF8, 0, 0, 1}, "[#type: #clock"},
      {list({sym("start")}), {0xFA, 0, 0, 1}, "[#type: #start"},
      {props({{"type", sym("stop")}}), {0xFC, 0, 0, 1}, "[#type: #stop"},
      {props({{"type", sym("continue")}}), {0xFB, 0, 0, 1}, "[#type: #continue"},
      {list({sym("activeSensing")}), {0xFE, 0, 0, 1}, "[#type: #activeSensing"},
      {list({sym("systemReset")}), {0xFF, 0, 0, 1}, "[#type: #systemReset"},
      {props({{"type", sym("mtcQuarterFrame")}, {"subFrame", num(3)}, {"data", num(5)}}),
       {0xF1, 0x35, 0, 2},
       "[#type: #mtcQuarterFrame, #subFrame: 3, #data: 5"},
      {props({{"type", sym("songPositionPointer")}, {"position", num(272)}}),
       {0xF2, 0x10, 0x02, 3},
       "[#type: #songPositionPointer, #position: 272"},
      {list({sym("songSelect"), num(5)}), {0xF3, 5, 0, 2}, "[#type: #songSelect, #number: 5"},
      {list({sym("tuneRequest")}), {0xF6, 0, 0, 1}, "[#type: #tuneRequest"},
      // Values past what the type uses are ignored.
      {list({sym("clock"), str("anything"), num(-1)}), {0xF8, 0, 0, 1}, "[#type: #clock"},
  };
  platform_.time = 52013;
  const std::size_t live = store_.liveValues();
  for (const auto& c : cases) {
    platform_.shortSends.clear();
    EXPECT_EQ(send(c.message), kErrNone) << store_.print(c.message);
    EXPECT_EQ(platform_.shortSends, std::vector<ShortSend>{c.bytes}) << store_.print(c.message);

    platform_.receiveShort(c.bytes.status, c.bytes.data1, c.bytes.data2);
    LingoValue received = store_.makePropertyList();
    platform_.GetNextMessage(&received);
    EXPECT_EQ(store_.print(received), std::string(c.received) + ", #timestamp: 52013]");
    EXPECT_FALSE(platform_.MessagesPending()) << c.received;
    platform_.shortSends.clear();
    const std::int32_t again = send(received);
    const bool same = again == kErrNone && platform_.shortSends == std::vector<ShortSend>{c.bytes};
    EXPECT_EQ(same, c.sameAgain) << c.received;
    store_.release(received);
    EXPECT_EQ(store_.liveValues(), live) << c.received;
  }
}

TEST_F(MessageConversionTest, SystemExclusiveGoesThroughTheSysexOperationAndComesBackWhole) {
  const struct {
    LingoValue message;
    std::int32_t code;
    std::vector<std::uint8_t> data;
  } cases[] = {
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
  for (const auto& c : cases) {
    platform_.sysexSends.clear();
    EXPECT_EQ(send(c.message), c.code) << store_.print(c.message);
    const std::vector<SysexSend> sent =
        c.code == kErrNone ? std::vector<SysexSend>{{125, c.data}} : std::vector<SysexSend>{};
    EXPECT_EQ(platform_.sysexSends, sent);
  }
  EXPECT_TRUE(platform_.shortSends.empty());

  // Data bytes are whatever arrives up to the final F7, real-time bytes and 0x7F included.
  platform_.time = 7;
  platform_.receive({0xF0, 0x00, 0x20, 0xF8, 0x7F, 0xF7});
  LingoValue received = store_.makePropertyList();
  platform_.GetNextMessage(&received);
  EXPECT_EQ(store_.print(received),
            "[#type: #systemExclusive, #manufacturerID: 0, #data: [32, 248, 127], #timestamp: 7]");
  store_.release(received);
  platform_.receive({0xF0, 125, 1, 2, 0xF7});
  received = store_.makePropertyList();
  platform_.GetNextMessage(&received);
  platform_.sysexSends.clear();
  EXPECT_EQ(send(received), kErrNone);
  EXPECT_EQ(platform_.sysexSends, (std::vector<SysexSend>{{125, {1, 2}}}));
  store_.release(received);
}

TEST_F(MessageConversionTest, TimestampIsHandedOverAsASigned32BitInteger) {
  platform_.time = std::numeric_limits<std::int32_t>::min();
  platform_.receiveShort(0xF8);
  EXPECT_EQ(next(), "[#type: #clock, #timestamp: -2147483648]");
}

TEST_F(MessageConversionTest, ErrorsInTheirOrder) {
  const std::pair<LingoValue, std::int32_t> cases[] = {
      {num(42), kErrUnpackingMessage},
      {props({}), kErrUnpackingMessage},
      {list({str("noteOn"), num(1)}), kErrMessageNotSymbol},
      {list({sym("foo")}), kErrUnknownMessageType},
      {list({sym("all")}), kErrUnknownMessageType},
      {list({sym("noteOn"), num(0), num(60), num(100)}), kErrPropertyOutOfRange},
      {list({sym("noteOn"), num(-1), num(60), num(100)}), kErrPropertyOutOfRange},
      {list({sym("noteOn"), num(1), num(128), num(100)}), kErrPropertyOutOfRange},
      // The channel is read and checked first.
      {list({sym("noteOn"), str("1"), num(999)}), kErrPropertyNotInteger},
      {list({sym("noteOn"), num(99)}), kErrPropertyOutOfRange},
      {list({sym("noteOn")}), kErrMissingProperty},
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
  for (const auto& [message, code] : cases) expectFails(message, code);
  platform_.setOutputOpen(false);
  for (const auto& [message, code] : cases) expectFails(message, kErrOutputNotOpen);
  expectFails(list({sym("clock")}), kErrOutputNotOpen);
}

TEST_F(MessageConversionTest, FailingHostOperationsGiveTheirCodesAndLoseNoQueuedMessage) {
  using director::HostOperation;
  const std::pair<HostOperation, std::int32_t> reads[] = {
      {HostOperation::GetListItem, kErrUnpackingMessage},
      {HostOperation::ReadSymbolValue, kErrMessageNotSymbol},
      {HostOperation::ReadIntegerValue, kErrPropertyNotInteger},
  };
  for (const auto& [failing, code] : reads) {
    store_.failNext(failing, 1);
    expectFails(list({sym("noteOn"), num(1), num(60), num(100)}), code);
    store_.clearFailures();
  }

  platform_.receiveShort(0x90, 60, 100);
  platform_.receive({0xF0, 0x01, 0x02, 0x03, 0xF7});
  platform_.receiveShort(0xFC);
  platform_.receiveShort(0xFA);
  store_.failNext(HostOperation::AppendProperty, 100);
  EXPECT_EQ(next(), "[:]");
  store_.clearFailures();
  store_.failNext(HostOperation::NewLinearList, 1);
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 1, #data: <Void>, #timestamp: 0]");
  // GetPendingMessages stops when no message list can be made, and loses nothing.
  store_.failNext(HostOperation::NewPropertyList, 1);
  EXPECT_EQ(pending(), "[]");
  EXPECT_EQ(pending(), "[[#type: #stop, #timestamp: 0], [#type: #start, #timestamp: 0]]");
}

}  // namespace
