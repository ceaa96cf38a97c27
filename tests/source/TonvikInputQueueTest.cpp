// The input queue: sizing, record format, room and overflow, wrap-around, system-exclusive
// assembly, the hold-back of short messages during a system-exclusive message, and the sysex gate.
#include <vector>

#include "TonvikTestPlatform.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

class InputQueueTest : public TonvikFixture {
 protected:
  std::uint32_t queuedBytes() const {
    const std::uint32_t size = TonvikBaseInspector::inputQueueSize(platform_);
    return (TonvikBaseInspector::writeIndex(platform_) + size -
            TonvikBaseInspector::readIndex(platform_)) %
           size;
  }
  Bytes queuedRecordBytes() const {
    const std::uint32_t size = TonvikBaseInspector::inputQueueSize(platform_);
    const std::uint8_t* ring = TonvikBaseInspector::inputQueue(platform_);
    Bytes bytes;
    for (std::uint32_t p = TonvikBaseInspector::readIndex(platform_);
         p != TonvikBaseInspector::writeIndex(platform_); p = (p + 1) % size) {
      bytes.push_back(ring[p]);
    }
    return bytes;
  }
  // Moves the ring's write position to offset by queueing and discarding records of 5 and 6
  // bytes, one lap of the ring plus the offset in all.
  void moveWritePositionTo(std::uint32_t offset) {
    platform_.FlushInput();
    const std::uint32_t size = TonvikBaseInspector::inputQueueSize(platform_);
    std::uint32_t remaining =
        (offset + size - TonvikBaseInspector::writeIndex(platform_)) % size + size;
    std::uint32_t sixes = remaining % 5;
    remaining -= 6 * sixes;
    for (; sixes > 0; --sixes) platform_.receiveShort(0xC0, 1);
    for (; remaining > 0; remaining -= 5) {
      platform_.receiveShort(0xF8);
      platform_.FlushInput();
    }
    platform_.FlushInput();
    ASSERT_EQ(TonvikBaseInspector::writeIndex(platform_), offset);
  }
};

TEST(InputQueueSizing, SmallSizesGiveTheMinimumAndLargerOnesTheirOwn) {
  struct Case {
    std::uint32_t requested;
    std::uint32_t size;
  };
  for (const Case& c :
       {Case{0, 1024}, Case{1, 1024}, Case{1023, 1024}, Case{1024, 1024}, Case{5000, 5000}}) {
    director::ValueStore store;
    RecordingPlatform platform(store);
    EXPECT_EQ(platform.AllocateInputQueue(c.requested), kErrNone);
    EXPECT_EQ(TonvikBaseInspector::inputQueueSize(platform), c.size) << c.requested;
    EXPECT_EQ(store.liveBlocks(), 1u);
  }
}

TEST(InputQueueSizing, ReopeningWithTheSameSizeKeepsTheBufferButEmptiesIt) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  ASSERT_EQ(platform.AllocateInputQueue(2000), kErrNone);
  const std::uint8_t* buffer = TonvikBaseInspector::inputQueue(platform);
  for (int i = 0; i < 400; ++i) platform.receiveShort(0x90, 60, 100);
  ASSERT_TRUE(platform.MessagesPending());

  ASSERT_EQ(platform.AllocateInputQueue(2000), kErrNone);
  EXPECT_EQ(TonvikBaseInspector::inputQueue(platform), buffer);
  EXPECT_FALSE(platform.MessagesPending());
  EXPECT_FALSE(platform.InputOverflowed());

  ASSERT_EQ(platform.AllocateInputQueue(3000), kErrNone);
  EXPECT_EQ(TonvikBaseInspector::inputQueueSize(platform), 3000u);
  EXPECT_EQ(store.liveBlocks(), 1u);
}

TEST(InputQueueSizing, AllocationFailureLeavesNoQueueAndReceivingDoesNothing) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  store.failAllocations(1);
  EXPECT_EQ(platform.OpenInput(0, 4096), kErrNotEnoughMemory);
  EXPECT_EQ(TonvikBaseInspector::inputQueue(platform), nullptr);
  EXPECT_EQ(TonvikBaseInspector::inputQueueSize(platform), 4096u);
  platform.receiveShort(0x90, 60, 100);
  platform.receive({0xF0, 0x7D, 0x01, 0xF7});
  EXPECT_FALSE(platform.MessagesPending());
  EXPECT_FALSE(platform.InputOverflowed());

  // A negative size from a script reads as 2^31 or more; the largest cannot carry its end marks.
  EXPECT_EQ(platform.AllocateInputQueue(0xFFFFFFFFu), kErrNotEnoughMemory);
  EXPECT_EQ(store.liveBlocks(), 0u);
}

TEST_F(InputQueueTest, RecordsHoldTheStoredBytesThenTheTimestampMostSignificantFirst) {
  struct Case {
    Bytes message;
    Bytes record;
  };
  platform_.time = 0x01020304;
  const Case cases[] = {
      {{0x90, 0x3C, 0x64}, {0x90, 0x3C, 0x64, 1, 2, 3, 4}},
      {{0x95, 0x3C, 0x00}, {0x85, 0x3C, 0x00, 1, 2, 3, 4}},
      {{0xA1, 1, 2}, {0xA1, 1, 2, 1, 2, 3, 4}},
      {{0xB2, 7, 3}, {0xB2, 7, 3, 1, 2, 3, 4}},
      {{0xB2, 126, 3}, {0xB2, 126, 3, 1, 2, 3, 4}},
      {{0xC3, 5, 9}, {0xC3, 5, 1, 2, 3, 4}},
      {{0xD4, 5, 9}, {0xD4, 5, 1, 2, 3, 4}},
      {{0xE5, 0, 0x40}, {0xE5, 0, 0x40, 1, 2, 3, 4}},
      {{0xF1, 0x35, 9}, {0xF1, 0x35, 1, 2, 3, 4}},
      {{0xF2, 0x10, 2}, {0xF2, 0x10, 2, 1, 2, 3, 4}},
      {{0xF3, 5, 9}, {0xF3, 5, 1, 2, 3, 4}},
      {{0xF6, 1, 2}, {0xF6, 1, 2, 3, 4}},
      {{0xF8, 1, 2}, {0xF8, 1, 2, 3, 4}},
      {{0xFA, 0, 0}, {0xFA, 1, 2, 3, 4}},
      {{0xFB, 0, 0}, {0xFB, 1, 2, 3, 4}},
      {{0xFC, 0, 0}, {0xFC, 1, 2, 3, 4}},
      {{0xFE, 0, 0}, {0xFE, 1, 2, 3, 4}},
      {{0xFF, 0, 0}, {0xFF, 1, 2, 3, 4}},
  };
  for (const Case& c : cases) {
    platform_.receiveShort(c.message[0], c.message[1], c.message[2]);
    EXPECT_EQ(queuedRecordBytes(), c.record) << std::hex << int(c.message[0]);
    platform_.FlushInput();
  }
  platform_.receive({0xF0, 0x7D, 0x01, 0x02, 0xF7});
  EXPECT_EQ(queuedRecordBytes(), (Bytes{0xF0, 0x7D, 0x01, 0x02, 0xF7, 1, 2, 3, 4}));
}

TEST_F(InputQueueTest, StatusBytesThatAreNeverStoredRaiseNoFlag) {
  for (std::uint8_t status : {0xF4, 0xF5, 0xF7, 0xF9, 0xFD, 0xF0, 0x40, 0x00, 0x7F}) {
    platform_.receiveShort(status, 1, 2);
  }
  // Controller 122 means local control only with 0 or 127.
  platform_.receiveShort(0xB0, 122, 64);
  EXPECT_FALSE(platform_.MessagesPending());
  EXPECT_FALSE(platform_.InputOverflowed());
}

TEST_F(InputQueueTest, AFullRingKeeps146NotesAndFlagsThe147th) {
  for (int i = 0; i < 146; ++i) platform_.receiveShort(0x90, static_cast<std::uint8_t>(i % 128), 1);
  EXPECT_FALSE(platform_.InputOverflowed());
  platform_.receiveShort(0x90, 99, 99);
  EXPECT_TRUE(platform_.InputOverflowed());
  EXPECT_FALSE(platform_.InputOverflowed());

  // A message that the filters would drop still overflows a full ring.
  LingoValue none = store_.makeSymbol("none");
  EXPECT_EQ(platform_.SetSystemFilter(&none), kErrNone);
  store_.release(none);
  platform_.receiveShort(0xF8);
  EXPECT_TRUE(platform_.InputOverflowed());

  for (int i = 0; i < 146; ++i) {
    ASSERT_EQ(next(), "[#type: #noteOn, #channel: 1, #number: " + std::to_string(i % 128) +
                          ", #velocity: 1, #timestamp: 0]");
  }
  EXPECT_EQ(next(), "[:]");
}

TEST_F(InputQueueTest, OverflowFlagIsClearedByReadingFlushingAndReopening) {
  for (int i = 0; i < 147; ++i) platform_.receiveShort(0xF8);
  platform_.FlushInput();
  EXPECT_FALSE(platform_.MessagesPending());
  EXPECT_FALSE(platform_.InputOverflowed());

  for (int i = 0; i < 300; ++i) platform_.receiveShort(0xF8);
  ASSERT_EQ(platform_.CloseInput(), kErrNone);
  EXPECT_TRUE(platform_.MessagesPending());
  EXPECT_EQ(next(), "[:]");
  EXPECT_EQ(pending(), "[]");
  ASSERT_EQ(platform_.OpenInput(0, 0), kErrNone);
  EXPECT_FALSE(platform_.MessagesPending());
  EXPECT_FALSE(platform_.InputOverflowed());
}

TEST_F(InputQueueTest, RecordsWrapAroundTheEndOfTheRingAtEveryOffset) {
  const std::uint32_t size = TonvikBaseInspector::inputQueueSize(platform_);
  for (std::uint32_t offset = 0; offset < size; ++offset) {
    moveWritePositionTo(offset);
    platform_.time = 0x7F00FF01;
    platform_.receiveShort(0xE3, 0x7F, 0x7F);
    platform_.receive({0xF0, 0x7D, 0x01, 0x02, 0xF7});
    platform_.receive({0xF0, 0x01, 0x05, 0xF7, 0x06, 0xF7});
    platform_.receiveShort(0xD2, 0x40);
    ASSERT_EQ(pending(),
              "[[#type: #pitchBend, #channel: 4, #amount: 8191, #timestamp: 2130771713], "
              "[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2], "
              "#timestamp: 2130771713], "
              "[#type: #systemExclusive, #manufacturerID: 1, #data: [5, 247, 6], "
              "#timestamp: 2130771713], "
              "[#type: #channelPressure, #channel: 3, #number: 64, #timestamp: 2130771713]]")
        << "offset " << offset;
  }
}

TEST_F(InputQueueTest, ChunkedSysexBecomesOneRecordStampedWithItsFirstChunk) {
  platform_.time = 10;
  platform_.receive({0xF0, 0x7D, 0x01});
  platform_.time = 20;
  platform_.receiveMore({0x02});
  EXPECT_FALSE(platform_.MessagesPending());
  platform_.receiveMore({0xF7});
  EXPECT_EQ(queuedRecordBytes(), (Bytes{0xF0, 0x7D, 0x01, 0x02, 0xF7, 0, 0, 0, 10}));
  EXPECT_EQ(next(),
            "[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2], #timestamp: 10]");
}

TEST_F(InputQueueTest, ContinuationWithoutAStartIsIgnored) {
  platform_.receiveMore({0x01, 0xF7});
  EXPECT_FALSE(platform_.MessagesPending());
  EXPECT_FALSE(platform_.InputOverflowed());
}

TEST_F(InputQueueTest, SysexThatDoesNotFitIsDroppedWholeAndItsLaterChunksIgnored) {
  // An empty ring has 1023 free bytes for the chunk and its timestamp.
  Bytes fits(1019, 0x11);
  fits.front() = 0xF0;
  fits.back() = 0xF7;
  platform_.receive(fits);
  EXPECT_FALSE(platform_.InputOverflowed());
  EXPECT_EQ(queuedBytes(), 1023u);
  platform_.FlushInput();
  Bytes tooLong(1020, 0x11);
  tooLong.front() = 0xF0;
  tooLong.back() = 0xF7;
  platform_.receive(tooLong);
  EXPECT_TRUE(platform_.InputOverflowed());
  EXPECT_FALSE(platform_.MessagesPending());

  Bytes start(1000, 0x22);
  start.front() = 0xF0;
  platform_.receive(start);
  platform_.receiveMore(Bytes(20, 0x22));
  EXPECT_TRUE(platform_.InputOverflowed());
  platform_.receiveMore({0x22, 0xF7});
  EXPECT_FALSE(platform_.MessagesPending());
  EXPECT_FALSE(platform_.InputOverflowed());

  Bytes larger(5000, 0x33);
  larger.front() = 0xF0;
  larger.back() = 0xF7;
  platform_.receive(larger);
  EXPECT_TRUE(platform_.InputOverflowed());
  EXPECT_FALSE(platform_.MessagesPending());

  // The queue still works afterwards.
  platform_.receiveShort(0xFC);
  EXPECT_EQ(next(), "[#type: #stop, #timestamp: 0]");
}

TEST_F(InputQueueTest, NewStartAbandonsTheUnfinishedMessageSilently) {
  platform_.receive({0xF0, 0x7D, 0x01});
  platform_.receive({0xF0, 0x7E, 0x02});
  platform_.receiveMore({0xF7});
  EXPECT_FALSE(platform_.InputOverflowed());
  EXPECT_EQ(pending(),
            "[[#type: #systemExclusive, #manufacturerID: 126, #data: [2], #timestamp: 0]]");
}

TEST_F(InputQueueTest, EmptySysexIsDropped) {
  platform_.receive({0xF0, 0xF7});
  platform_.receive({0xF0});
  platform_.receiveMore({0xF7});
  EXPECT_FALSE(platform_.MessagesPending());
  EXPECT_FALSE(platform_.InputOverflowed());
}

TEST_F(InputQueueTest, RecordsWithBytesBehindAnInnerF7AreReportedWholeAndKeepTheQueueInStep) {
  platform_.receive({0xF0, 0x7D, 0x01, 0xF7, 0xF0, 0x7E, 0x02, 0xF7});
  platform_.receive({0xF0, 0x10, 0x01});
  platform_.receiveMore({0xF7, 0x05, 0xF7});
  platform_.receive({0xF0, 0xF7, 0x03, 0xF7});
  platform_.receiveShort(0xFA);
  EXPECT_EQ(pending(),
            "[[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 247, 240, 126, 2], "
            "#timestamp: 0], "
            "[#type: #systemExclusive, #manufacturerID: 16, #data: [1, 247, 5], #timestamp: 0], "
            "[#type: #systemExclusive, #manufacturerID: 247, #data: [3], #timestamp: 0], "
            "[#type: #start, #timestamp: 0]]");
}

TEST_F(InputQueueTest, ShortMessagesDuringSysexArePublishedBehindItInArrivalOrder) {
  platform_.time = 1;
  platform_.receive({0xF0, 0x7D, 0x01});
  platform_.time = 2;
  platform_.receiveShort(0xF8);
  platform_.time = 3;
  platform_.receiveShort(0x91, 60, 0);
  EXPECT_FALSE(platform_.MessagesPending());
  platform_.receiveMore({0x02, 0xF7});
  EXPECT_EQ(pending(),
            "[[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2], #timestamp: 1], "
            "[#type: #clock, #timestamp: 2], "
            "[#type: #noteOff, #channel: 2, #number: 60, #velocity: 0, #timestamp: 3]]");
}

TEST_F(InputQueueTest, HeldMessagesFollowAnAbandonedSysexAndPrecedeTheNextOne) {
  platform_.receive({0xF0, 0x7D, 0x01});
  platform_.receiveShort(0xFE);
  platform_.receive({0xF0, 0x7E, 0x02, 0xF7});
  EXPECT_EQ(pending(),
            "[[#type: #activeSensing, #timestamp: 0], "
            "[#type: #systemExclusive, #manufacturerID: 126, #data: [2], #timestamp: 0]]");

  // Abandoned for want of room: the held message still arrives, after the flag.
  platform_.receive({0xF0, 0x7D});
  platform_.receiveShort(0xFC);
  platform_.receiveMore(Bytes(1100, 0x01));
  EXPECT_TRUE(platform_.InputOverflowed());
  EXPECT_EQ(pending(), "[[#type: #stop, #timestamp: 0]]");
}

TEST_F(InputQueueTest, HoldBufferKeeps64MessagesAndFlagsTheRest) {
  platform_.receive({0xF0, 0x7D});
  for (int i = 0; i < 66; ++i) {
    platform_.time = i;
    platform_.receiveShort(0xF8);
  }
  EXPECT_TRUE(platform_.InputOverflowed());
  platform_.receiveMore({0xF7});
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 125, #data: [], #timestamp: 0]");
  for (int i = 0; i < 64; ++i) {
    ASSERT_EQ(next(), "[#type: #clock, #timestamp: " + std::to_string(i) + "]");
  }
  EXPECT_FALSE(platform_.MessagesPending());
}

TEST_F(InputQueueTest, FilteredMessagesDuringSysexAreNotHeld) {
  LingoValue clock = store_.makeSymbol("clock");
  EXPECT_EQ(platform_.SetSystemFilter(&clock), kErrNone);
  store_.release(clock);
  // Sysex itself is closed now; open it again beside the clock.
  LingoValue both = store_.makeLinearList();
  LingoValue clockAgain = store_.makeSymbol("clock");
  LingoValue sysex = store_.makeSymbol("systemExclusive");
  store_.append(both, clockAgain);
  store_.append(both, sysex);
  store_.release(clockAgain);
  store_.release(sysex);
  EXPECT_EQ(platform_.SetSystemFilter(&both), kErrNone);
  store_.release(both);

  platform_.receive({0xF0, 0x7D});
  for (int i = 0; i < 100; ++i) platform_.receiveShort(0xFE);
  platform_.receiveShort(0xF8);
  platform_.receiveMore({0xF7});
  EXPECT_FALSE(platform_.InputOverflowed());
  EXPECT_EQ(pending(),
            "[[#type: #systemExclusive, #manufacturerID: 125, #data: [], #timestamp: 0], "
            "[#type: #clock, #timestamp: 0]]");
}

TEST_F(InputQueueTest, TheSysexFilterBitGovernsSysexInput) {
  LingoValue realTime = store_.makeSymbol("realTime");
  EXPECT_EQ(platform_.SetSystemFilter(&realTime), kErrNone);
  store_.release(realTime);
  platform_.receive({0xF0, 0x7D, 0x01, 0xF7});
  platform_.receive({0xF0, 0x7D, 0x01});
  platform_.receiveMore({0x02});
  platform_.receiveMore({0xF7});
  platform_.receiveShort(0xF8);
  // A filtered dump claims no room, even one larger than the ring.
  Bytes larger(5000, 0x33);
  larger.front() = 0xF0;
  larger.back() = 0xF7;
  platform_.receive(larger);
  EXPECT_FALSE(platform_.InputOverflowed());
  EXPECT_EQ(pending(), "[[#type: #clock, #timestamp: 0]]");

  LingoValue sysex = store_.makeSymbol("systemExclusive");
  EXPECT_EQ(platform_.SetSystemFilter(&sysex), kErrNone);
  store_.release(sysex);
  platform_.receive({0xF0, 0x7D, 0x01, 0xF7});
  EXPECT_EQ(pending(),
            "[[#type: #systemExclusive, #manufacturerID: 125, #data: [1], #timestamp: 0]]");
}

}  // namespace
