// The instance over the virtual MIDI system: its clock's arithmetic and what destruction gives
// back. Its timer on received messages, how its port cuts packets, and large system-exclusive
// messages are run by xtra_packets.ls and xtra_sysex_large.ls.
#include <cstdint>
#include <limits>

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
