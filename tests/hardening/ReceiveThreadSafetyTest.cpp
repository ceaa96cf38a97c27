// The MIDI receive thread and the system-exclusive completion thread must never stall: the
// Xtra's procedures on them allocate nothing and take no lock, counted call by call.
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "RealtimeProbe.h"
#include "TransportTestSupport.h"

namespace {

constexpr int kShortMessages = 100000;
constexpr int kShortPerPacketList = 100;
constexpr int kSysexMessages = 250;
constexpr int kChunksPerSysex = 4;
constexpr int kChunkDataBytes = 32;
constexpr int kSysexSends = 200;
// Room for every message at once, so the queue never refuses one.
constexpr std::int32_t kQueueBytes = 4 << 20;

class ReceiveThreadSafetyTest : public InstanceTest {
 protected:
  void SetUp() override {
    if (!realtime::kProbeAvailable) {
      GTEST_SKIP() << "the sanitizer runtime owns malloc and the mutexes; counted in the plain "
                      "build only";
    }
    InstanceTest::SetUp();
    openLoopback(kQueueBytes);
    realtime::resetCounts();
  }

  // Nothing counted, in at least the given number of watched sections; then every message sent
  // arrives and the census balances.
  void expectNothingCounted(std::uint64_t sections, std::int32_t messages) {
    const realtime::Counts counts = realtime::counts();
    EXPECT_GE(counts.sections, sections) << "the watched procedure did not run";
    EXPECT_EQ(counts.allocations, 0u);
    EXPECT_EQ(counts.frees, 0u);
    EXPECT_EQ(counts.mutexLocks, 0u);
    EXPECT_FALSE(instance->InputOverflowed());
    LingoValue pending = store.makeLinearList();
    instance->GetPendingMessages(&pending);
    EXPECT_EQ(store.count(pending), messages);
    store.release(pending);
    expectNoValueLeft();
  }
};

// A zero count means something only if the probe sees what it is meant to see.
TEST_F(ReceiveThreadSafetyTest, ProbeSeesAllocationsAndLocksInAWatchedSection) {
  std::mutex mutex;
  {
    realtime::WatchedSection section;
    auto block = std::make_unique<std::vector<int>>(16);
    std::lock_guard<std::mutex> lock(mutex);
  }
  const realtime::Counts counts = realtime::counts();
  EXPECT_EQ(counts.sections, 1u);
  EXPECT_GE(counts.allocations, 2u);
  EXPECT_GE(counts.frees, 2u);
  EXPECT_EQ(counts.mutexLocks, 1u);
}

TEST_F(ReceiveThreadSafetyTest, ReadAndCompletionProceduresNeitherAllocateNorLock) {
  std::vector<virtualmidi::Packet> shortMessages;
  for (int i = 0; i < kShortPerPacketList; ++i) {
    shortMessages.push_back(
        {static_cast<std::uint8_t>(0x90 | i % 16), static_cast<std::uint8_t>(i % 128), 100});
  }
  int lists = 0;
  for (int sent = 0; sent < kShortMessages; sent += kShortPerPacketList, ++lists) {
    ASSERT_TRUE(inject(shortMessages));
  }
  // Each message arrives as four packets: the start, two continuations and the end.
  for (int message = 0; message < kSysexMessages; ++message) {
    for (int part = 0; part < kChunksPerSysex; ++part, ++lists) {
      virtualmidi::Packet packet(kChunkDataBytes, static_cast<std::uint8_t>(part));
      if (part == 0) packet.front() = 0xF0;
      if (part == kChunksPerSysex - 1) packet.back() = 0xF7;
      ASSERT_TRUE(inject({packet}));
    }
  }
  for (int i = 0; i < kSysexSends; ++i) {
    ASSERT_EQ(instance->SendSysex(0x7D, nullptr, 0), 0);
    ASSERT_TRUE(midisystem::waitUntilDelivered());
  }
  // The looped-back messages pass the read procedure as well; both kinds are watched.
  expectNothingCounted(lists + 2 * kSysexSends, kShortMessages + kSysexMessages + kSysexSends);
}

}  // namespace
