// The input queue: sizing, record format and wrap-around, system-exclusive assembly and the
// hold-back of short messages during a system-exclusive message, with their timestamps. Room,
// overflow, flushing, reopening and what the port can deliver of assembly and hold-back are run
// by xtra_queue.ls.
#include <algorithm>
#include <tuple>
#include <vector>

#include "TonvikTestPlatform.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

using InputQueueTest = TonvikFixture;

TEST(InputQueueSizing, SizesReopeningAndAllocationFailure) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  // Every call empties the queue and its flag; the same size keeps the block, another replaces
  // it. Before the first there is no queue, and receiving does nothing.
  const std::uint8_t* ring = TonvikBaseInternals::ring(platform);
  EXPECT_EQ(ring, nullptr);
  for (const auto& [requested, size, kept] :
       {std::tuple<std::uint32_t, std::uint32_t, bool>{0, 1024, false},
        {1023, 1024, true},
        {1024, 1024, true},
        {5000, 5000, false}}) {
    for (int i = 0; i < 1000; ++i) platform.receiveShort(0x90, 60, 100);
    ASSERT_EQ(platform.AllocateInputQueue(requested), kErrNone);
    EXPECT_EQ(TonvikBaseInternals::size(platform), size) << requested;
    EXPECT_EQ(TonvikBaseInternals::ring(platform) == ring, kept) << requested;
    ring = TonvikBaseInternals::ring(platform);
    EXPECT_FALSE(platform.MessagesPending()) << requested;
    EXPECT_FALSE(platform.InputOverflowed()) << requested;
    EXPECT_EQ(store.liveBlocks(), 1u) << requested;
  }

  store.failAllocations(1);
  EXPECT_EQ(platform.AllocateInputQueue(4096), kErrNotEnoughMemory);
  EXPECT_EQ(TonvikBaseInternals::ring(platform), nullptr);
  platform.receiveShort(0x90, 60, 100);
  platform.receive({0xF0, 0x7D, 0x01, 0xF7});
  EXPECT_FALSE(platform.MessagesPending());
  EXPECT_FALSE(platform.InputOverflowed());
  EXPECT_EQ(store.liveBlocks(), 0u);
}

TEST_F(InputQueueTest, RecordsWrapAroundTheEndOfTheRingAtEveryOffset) {
  // The four records take an odd number of bytes, so that they start at every offset of the ring
  // once in as many rounds as it has bytes.
  std::vector<bool> started(TonvikBaseInternals::size(platform_));
  for (std::size_t round = 0; round < started.size(); ++round) {
    const std::uint32_t offset = TonvikBaseInternals::writeIndex(platform_);
    started[offset] = true;
    // Negative: the stamp is handed over as a signed 32-bit integer.
    platform_.time = static_cast<std::int32_t>(0x8100FF01);
    platform_.receiveShort(0xE3, 0x7F, 0x7F);
    platform_.receive({0xF0, 0x7D, 0x01, 0xF7});
    platform_.receive({0xF0, 0x01, 0x05, 0xF7, 0x06, 0xF7});
    platform_.receiveShort(0xD2, 0x40);
    ASSERT_EQ(pending(),
              "[[#type: #pitchBend, #channel: 4, #amount: 8191, #timestamp: -2130641151], "
              "[#type: #systemExclusive, #manufacturerID: 125, #data: [1], "
              "#timestamp: -2130641151], "
              "[#type: #systemExclusive, #manufacturerID: 1, #data: [5, 247, 6], "
              "#timestamp: -2130641151], "
              "[#type: #channelPressure, #channel: 3, #number: 64, #timestamp: -2130641151]]")
        << "offset " << offset;
  }
  EXPECT_EQ(std::count(started.begin(), started.end(), false), 0);
}

// One step of the receive path: a sysex start, a continuation, a short message, or a new time.
struct Step {
  enum { Start, More, Short, Time } kind;
  Bytes bytes;
  std::int32_t time = 0;
};

TEST_F(InputQueueTest, SysexAssemblyAndTheShortMessagesHeldMeanwhile) {
  using S = Step;
  // Laid out by hand: clang-format would give every step a line of its own.
  // clang-format off
  const struct {
    const char* name;
    std::vector<Step> steps;
    const char* pending;
  } cases[] = {
      {"bytes behind an inner F7 belong to the record; an F7 on its own ends it, or is dropped",
       {{S::Start, {0xF0, 0x7D, 0x01, 0xF7, 0xF0, 0x7E, 0x02, 0xF7}},
        {S::Start, {0xF0, 0x10, 0x01}}, {S::More, {0xF7, 0x05, 0xF7}},
        {S::Start, {0xF0, 0xF7, 0x03, 0xF7}}, {S::Start, {0xF0, 0x7D, 0x01}},
        {S::Short, {0xF7, 0x12, 0x34}}, {S::Short, {0xF7}}, {S::Short, {0xFA}}},
       "[[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 247, 240, 126, 2], "
       "#timestamp: 0], "
       "[#type: #systemExclusive, #manufacturerID: 16, #data: [1, 247, 5], #timestamp: 0], "
       "[#type: #systemExclusive, #manufacturerID: 247, #data: [3], #timestamp: 0], "
       "[#type: #systemExclusive, #manufacturerID: 125, #data: [1], #timestamp: 0], "
       "[#type: #start, #timestamp: 0]]"},
      {"one record stamped with its first chunk; short messages meanwhile follow with theirs",
       {{S::Time, {}, 1}, {S::Start, {0xF0, 0x7D, 0x01}}, {S::Time, {}, 2}, {S::Short, {0xF8}},
        {S::Time, {}, 3}, {S::Short, {0x91, 60, 0}}, {S::More, {0x02, 0xF7}}},
       "[[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2], #timestamp: 1], "
       "[#type: #clock, #timestamp: 2], "
       "[#type: #noteOff, #channel: 2, #number: 60, #velocity: 0, #timestamp: 3]]"},
      // At 700 ms, 500 ms after the last chunk, it still waits; at 701 it is given up.
      {"a message more than 500 ms after the last chunk gives the unfinished one up",
       {{S::Start, {0xF0, 0x7D, 0x01}}, {S::Time, {}, 200}, {S::More, {0x02}}, {S::Time, {}, 700},
        {S::Short, {0xF8}}, {S::Time, {}, 701}, {S::Short, {0xFA}}, {S::More, {0x03, 0xF7}},
        {S::Short, {0xFC}}},
       "[[#type: #clock, #timestamp: 700], [#type: #start, #timestamp: 701], "
       "[#type: #stop, #timestamp: 701]]"},
      {"a timer reset counts as long after",
       {{S::Time, {}, 10}, {S::Start, {0xF0, 0x7D, 0x01}}, {S::Short, {0xF8}}, {S::Time, {}, 9},
        {S::Short, {0xFA}}, {S::More, {0xF7}}},
       "[[#type: #clock, #timestamp: 10], [#type: #start, #timestamp: 9]]"},
  };
  // clang-format on
  for (const auto& c : cases) {
    platform_.time = 0;
    for (const Step& step : c.steps) {
      switch (step.kind) {
        case Step::Start:
          platform_.receive(step.bytes);
          break;
        case Step::More:
          platform_.receiveMore(step.bytes);
          break;
        case Step::Short:
          platform_.receiveShort(step.bytes[0], step.bytes.size() > 1 ? step.bytes[1] : 0,
                                 step.bytes.size() > 2 ? step.bytes[2] : 0);
          break;
        case Step::Time:
          platform_.time = step.time;
          break;
      }
    }
    EXPECT_FALSE(platform_.InputOverflowed()) << c.name;
    EXPECT_EQ(pending(), c.pending) << c.name;
  }
}

}  // namespace
