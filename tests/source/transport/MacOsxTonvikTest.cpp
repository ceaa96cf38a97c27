// The instance over the virtual MIDI system: its timer and what destruction gives back. Large
// system-exclusive messages out and in are run by xtra_sysex_large.ls.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>

#include "TransportTestSupport.h"

namespace {

using MacOsxTonvikTest = InstanceTest;

TEST(MacOsxTonvikClock, ElapsedTimeTruncatesToMillisecondsAndWrapsPast31Bits) {
  constexpr std::uint64_t kNanosPerMilli = 1000000;
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds(1999999), 1);
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds(kMax * kNanosPerMilli), kMax);
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds((kMax + 1ull) * kNanosPerMilli), -kMax - 1);
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds(((1ull << 32) + 5) * kNanosPerMilli), 5);
}

TEST_F(MacOsxTonvikTest, ReceivedMessagesCarryTheInstanceTimer) {
  openLoopback();
  instance->ResetTimer();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const std::int32_t before = instance->GetTime();
  ASSERT_TRUE(inject({{0x90, 60, 100}}));
  const std::int32_t after = instance->GetTime();
  LingoValue received = store.makePropertyList();
  instance->GetNextMessage(&received);
  LingoValue timestamp = store.itemAt(received, 5);
  EXPECT_GE(store.integer(timestamp), std::max(before, 20));
  EXPECT_LE(store.integer(timestamp), after);
  store.release(timestamp);
  store.release(received);
}

TEST_F(MacOsxTonvikTest, DestructionClosesBothPortsAndGivesBackEveryClientReference) {
  auto second = makeInstance();
  ASSERT_EQ(second->Init(), 0);
  ASSERT_EQ(instance->Init(), 0);  // again below: references must stay balanced
  openLoopback();
  ASSERT_EQ(send(values.sysex(125, {1, 2, 3})), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  ASSERT_TRUE(instance->MessagesPending());
  instance.reset();
  EXPECT_EQ(store.liveBlocks(), 0u);
  EXPECT_TRUE(inject({{0x90, 60, 100}}));  // reaches no read procedure any more
  EXPECT_EQ(midisystem::clientCount(), 1);
  second.reset();
  EXPECT_EQ(midisystem::clientCount(), 0);
}

}  // namespace
