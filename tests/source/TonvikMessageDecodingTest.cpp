// Received MIDI to Lingo property lists: every message kind, the readers' edge cases, and the
// census after every call.
#include <vector>

#include "TonvikTestPlatform.h"

namespace {

using MessageDecodingTest = TonvikFixture;

struct DecodeCase {
  std::uint8_t status, data1, data2;
  const char* expected;
};

TEST_F(MessageDecodingTest, EveryKindOfShortMessage) {
  const DecodeCase cases[] = {
      {0x90, 60, 100,
       "[#type: #noteOn, #channel: 1, #number: 60, #velocity: 100, #timestamp: 52013]"},
      {0x9F, 61, 0,
       "[#type: #noteOff, #channel: 16, #number: 61, #velocity: 0, #timestamp: 52013]"},
      {0x83, 62, 64,
       "[#type: #noteOff, #channel: 4, #number: 62, #velocity: 64, #timestamp: 52013]"},
      {0xA2, 63, 5,
       "[#type: #polyKeyPressure, #channel: 3, #number: 63, #pressure: 5, #timestamp: 52013]"},
      {0xB0, 7, 99,
       "[#type: #controlChange, #channel: 1, #number: 7, #value: 99, #timestamp: 52013]"},
      {0xB1, 121, 0,
       "[#type: #controlChange, #channel: 2, #number: 121, #value: 0, #timestamp: 52013]"},
      {0xB4, 122, 0, "[#type: #localControlOff, #timestamp: 52013]"},
      {0xB4, 122, 127, "[#type: #localControlOn, #timestamp: 52013]"},
      {0xB4, 123, 0, "[#type: #allNotesOff, #timestamp: 52013]"},
      {0xB4, 124, 0, "[#type: #omniModeOff, #timestamp: 52013]"},
      {0xB4, 125, 0, "[#type: #omniModeOn, #timestamp: 52013]"},
      {0xB4, 126, 4, "[#type: #monoModeOn, #numChannels: 4, #timestamp: 52013]"},
      {0xB4, 127, 0, "[#type: #polyModeOn, #timestamp: 52013]"},
      {0xC5, 9, 0, "[#type: #programChange, #channel: 6, #number: 9, #timestamp: 52013]"},
      {0xD2, 0x40, 0, "[#type: #channelPressure, #channel: 3, #number: 64, #timestamp: 52013]"},
      {0xE0, 0x00, 0x40, "[#type: #pitchBend, #channel: 1, #amount: 0, #timestamp: 52013]"},
      {0xE0, 0x7F, 0x7F, "[#type: #pitchBend, #channel: 1, #amount: 8191, #timestamp: 52013]"},
      {0xE0, 0x00, 0x00, "[#type: #pitchBend, #channel: 1, #amount: -8192, #timestamp: 52013]"},
      {0xF1, 0x35, 0, "[#type: #mtcQuarterFrame, #subFrame: 3, #data: 5, #timestamp: 52013]"},
      {0xF2, 0x10, 0x02, "[#type: #songPositionPointer, #position: 272, #timestamp: 52013]"},
      {0xF3, 0x05, 0, "[#type: #songSelect, #number: 5, #timestamp: 52013]"},
      {0xF6, 0, 0, "[#type: #tuneRequest, #timestamp: 52013]"},
      {0xF8, 0, 0, "[#type: #clock, #timestamp: 52013]"},
      {0xFA, 0, 0, "[#type: #start, #timestamp: 52013]"},
      {0xFB, 0, 0, "[#type: #continue, #timestamp: 52013]"},
      {0xFC, 0, 0, "[#type: #stop, #timestamp: 52013]"},
      {0xFE, 0, 0, "[#type: #activeSensing, #timestamp: 52013]"},
      {0xFF, 0, 0, "[#type: #systemReset, #timestamp: 52013]"},
  };
  platform_.time = 52013;
  for (const DecodeCase& c : cases) {
    platform_.receiveShort(c.status, c.data1, c.data2);
    EXPECT_EQ(next(), c.expected);
    EXPECT_FALSE(platform_.MessagesPending()) << c.expected;
    EXPECT_EQ(store_.liveValues(), baseline_) << c.expected;
  }
}

TEST_F(MessageDecodingTest, SystemExclusiveData) {
  struct Case {
    std::vector<std::uint8_t> bytes;
    const char* expected;
  };
  const Case cases[] = {
      {{0xF0, 0x7D, 0x01, 0x02, 0xF7},
       "[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2], #timestamp: 7]"},
      {{0xF0, 0x7D, 0xF7},
       "[#type: #systemExclusive, #manufacturerID: 125, #data: [], #timestamp: 7]"},
      {{0xF0, 0x7D, 0x01, 0xF8, 0x02, 0xF7},
       "[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 248, 2], #timestamp: 7]"},
      {{0xF0, 0x00, 0x20, 0x29, 0x7F, 0xF7},
       "[#type: #systemExclusive, #manufacturerID: 0, #data: [32, 41, 127], #timestamp: 7]"},
  };
  platform_.time = 7;
  for (const Case& c : cases) {
    platform_.ReceiveSysexStart(c.bytes.data(), static_cast<std::uint32_t>(c.bytes.size()), 7);
    EXPECT_EQ(next(), c.expected);
    EXPECT_EQ(store_.liveValues(), baseline_) << c.expected;
  }
}

TEST_F(MessageDecodingTest, TimestampIsHandedOverAsASigned32BitInteger) {
  platform_.time = std::numeric_limits<std::int32_t>::min();
  platform_.receiveShort(0xF8);
  EXPECT_EQ(next(), "[#type: #clock, #timestamp: -2147483648]");
}

TEST_F(MessageDecodingTest, EmptyQueueGivesEmptyLists) {
  EXPECT_EQ(next(), "[:]");
  EXPECT_EQ(pending(), "[]");
}

TEST_F(MessageDecodingTest, PendingMessagesComeOldestFirstAndEmptyTheQueue) {
  platform_.receiveShort(0x90, 60, 100);
  platform_.receiveShort(0xF8);
  platform_.receive({0xF0, 0x01, 0x02, 0xF7});
  EXPECT_EQ(pending(),
            "[[#type: #noteOn, #channel: 1, #number: 60, #velocity: 100, #timestamp: 0], "
            "[#type: #clock, #timestamp: 0], "
            "[#type: #systemExclusive, #manufacturerID: 1, #data: [2], #timestamp: 0]]");
  EXPECT_FALSE(platform_.MessagesPending());
}

TEST_F(MessageDecodingTest, ClosedInputHidesMessagesWithoutDiscardingThem) {
  platform_.receiveShort(0xF8);
  platform_.setInputOpen(false);
  EXPECT_EQ(next(), "[:]");
  EXPECT_EQ(pending(), "[]");
  EXPECT_TRUE(platform_.MessagesPending());
  platform_.setInputOpen(true);
  EXPECT_EQ(next(), "[#type: #clock, #timestamp: 0]");
}

TEST_F(MessageDecodingTest, FailingHostStillRemovesTheMessage) {
  platform_.receiveShort(0x90, 60, 100);
  platform_.receive({0xF0, 0x01, 0x02, 0x03, 0xF7});
  platform_.receiveShort(0xFC);
  store_.failNext(director::HostOperation::AppendProperty, 100);
  EXPECT_EQ(next(), "[:]");
  store_.clearFailures();
  store_.failNext(director::HostOperation::NewLinearList, 1);
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 1, #data: <Void>, #timestamp: 0]");
  EXPECT_EQ(next(), "[#type: #stop, #timestamp: 0]");
}

TEST_F(MessageDecodingTest, PendingStopsWhenNoListCanBeMade) {
  platform_.receiveShort(0xF8);
  platform_.receiveShort(0xFA);
  LingoValue messages = store_.makeLinearList();
  store_.failNext(director::HostOperation::NewPropertyList, 1);
  platform_.GetPendingMessages(&messages);
  EXPECT_EQ(store_.print(messages), "[]");
  platform_.GetPendingMessages(&messages);
  EXPECT_EQ(store_.print(messages),
            "[[#type: #clock, #timestamp: 0], [#type: #start, #timestamp: 0]]");
  store_.release(messages);
}

}  // namespace
