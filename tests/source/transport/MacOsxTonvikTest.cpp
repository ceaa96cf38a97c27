// The instance over the virtual MIDI system: its clock's arithmetic, its clock under resets from
// another thread, and what destruction gives back. Its timer on received messages, how its port
// cuts packets, and large system-exclusive messages are run by xtra_packets.ls and
// xtra_sysex_large.ls.
#include <algorithm>
#include <atomic>
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

TEST_F(MacOsxTonvikTest, DestructionClosesBothPortsAndGivesBackEveryClientReference) {
  auto second = makeInstance();
  ASSERT_EQ(second->Init(), 0);
  ASSERT_EQ(instance->Init(), 0);  // again below: references must stay balanced
  openLoopback();
  LingoValue sysex = values.sysex(125, {1, 2, 3});
  ASSERT_EQ(instance->SendMessage(&sysex), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  ASSERT_TRUE(instance->MessagesPending());
  instance.reset();
  EXPECT_EQ(store.liveBlocks(), 0u);
  EXPECT_TRUE(inject({{0x90, 60, 100}}));  // reaches no read procedure any more
  EXPECT_EQ(midisystem::clientCount(), 1);
  second.reset();
  EXPECT_EQ(midisystem::clientCount(), 0);
}

// The receive path stamps messages while the host thread resets the timer as fast as it can: a
// stamp may belong to the time before or after a reset, but is never a wrapped negative value.
TEST_F(MacOsxTonvikTest, MessagesStampedWhileTheTimerIsResetLieBetweenZeroAndTheElapsedTime) {
  constexpr std::size_t kMessages = 100000;
  openLoopback(1 << 20);  // room for every message
  const auto began = std::chrono::steady_clock::now();
  instance->ResetTimer();  // so that no stamp counts from before `began`
  std::atomic<bool> done{false};
  std::thread receiveThread([&] {
    for (std::size_t i = 0; i < kMessages; ++i) instance->processShortMessage(0.0, 0xF8, 0, 0);
    done.store(true, std::memory_order_release);
  });
  while (!done.load(std::memory_order_acquire)) instance->ResetTimer();
  receiveThread.join();
  // Rounded up, and a millisecond more for the host clock's own rounding.
  const auto elapsed =
      std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began)
          .count() +
      1;

  LingoValue messages = store.makeLinearList();
  instance->GetPendingMessages(&messages);
  const std::vector<std::int32_t> stamps = timestampsAndRelease(store, messages);
  ASSERT_EQ(stamps.size(), kMessages);
  EXPECT_EQ(std::count_if(stamps.begin(), stamps.end(),
                          [&](std::int32_t time) { return time < 0 || time > elapsed; }),
            0);
  expectNoValueLeft();
}

}  // namespace
