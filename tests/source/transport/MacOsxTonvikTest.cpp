// The instance over the virtual MIDI system: its timer, what destruction gives back, and large
// system-exclusive messages out and in through the default loopback entity.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

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

class LargeSysexTest : public InstanceTest {
 protected:
  static constexpr std::int32_t kManufacturer = 0x7D;

  void SetUp() override {
    InstanceTest::SetUp();
    // With 0xF0, the manufacturer and 0xF7: 64 KB on the wire.
    for (std::uint32_t i = 0; i < 65536 - 3; ++i) data.push_back(i * 7 % 128);
    openLoopback(1 << 18);
  }

  void expectReceivedWhole() {
    ASSERT_TRUE(midisystem::waitUntilDelivered());
    LingoValue received = store.makePropertyList();
    instance->GetNextMessage(&received);
    ASSERT_EQ(store.count(received), 4);
    LingoValue id = store.itemAt(received, 2);
    LingoValue bytes = store.itemAt(received, 3);
    EXPECT_EQ(store.integer(id), kManufacturer);
    std::vector<std::int32_t> got;
    for (std::int32_t i = 1; i <= store.count(bytes); ++i) {
      LingoValue item = store.itemAt(bytes, i);
      got.push_back(store.integer(item));
      store.release(item);
    }
    EXPECT_TRUE(got == data) << "received " << got.size() << " bytes";
    for (LingoValue* value : {&id, &bytes, &received}) store.release(*value);
    EXPECT_FALSE(instance->MessagesPending());
  }

  std::vector<std::int32_t> data;
};

TEST_F(LargeSysexTest, GoesOutWhole) {
  ASSERT_EQ(send(values.sysex(kManufacturer, data)), 0);
  expectReceivedWhole();
}

TEST_F(LargeSysexTest, ComesInWholeFromPacketsOfOneKilobyte) {
  constexpr std::size_t kPacket = 1024;
  std::vector<std::uint8_t> wire{0xF0, kManufacturer};
  wire.insert(wire.end(), data.begin(), data.end());
  wire.push_back(0xF7);
  std::vector<virtualmidi::Packet> packets;
  for (std::size_t at = 0; at < wire.size(); at += kPacket) {
    packets.emplace_back(wire.begin() + at, wire.begin() + std::min(at + kPacket, wire.size()));
  }
  ASSERT_TRUE(inject(packets));
  expectReceivedWhole();
}

}  // namespace
