// End to end through the default loopback entity: out with SendMessage, back in with
// GetNextMessage.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "TransportTestSupport.h"

namespace {

using LoopbackTest = InstanceTest;

TEST_F(LoopbackTest, EveryMessageKindComesBackAsItWasSent) {
  const struct {
    const char* type;
    std::vector<std::int32_t> values;
    const char* received;
  } cases[] = {
      {"noteOn", {1, 60, 100}, "[#type: #noteOn, #channel: 1, #number: 60, #velocity: 100]"},
      {"noteOn", {2, 61, 0}, "[#type: #noteOff, #channel: 2, #number: 61, #velocity: 0]"},
      {"noteOff", {16, 60, 64}, "[#type: #noteOff, #channel: 16, #number: 60, #velocity: 64]"},
      {"polyKeyPressure",
       {3, 64, 10},
       "[#type: #polyKeyPressure, #channel: 3, #number: 64, #pressure: 10]"},
      {"controlChange", {4, 7, 99}, "[#type: #controlChange, #channel: 4, #number: 7, #value: 99]"},
      {"programChange", {5, 42}, "[#type: #programChange, #channel: 5, #number: 42]"},
      {"channelPressure", {6, 64}, "[#type: #channelPressure, #channel: 6, #number: 64]"},
      {"pitchBend", {7, -8192}, "[#type: #pitchBend, #channel: 7, #amount: -8192]"},
      {"pitchBend", {7, 8191}, "[#type: #pitchBend, #channel: 7, #amount: 8191]"},
      {"localControlOff", {1}, "[#type: #localControlOff]"},
      {"localControlOn", {1}, "[#type: #localControlOn]"},
      {"allNotesOff", {1}, "[#type: #allNotesOff]"},
      {"omniModeOff", {1}, "[#type: #omniModeOff]"},
      {"omniModeOn", {1}, "[#type: #omniModeOn]"},
      {"monoModeOn", {1, 4}, "[#type: #monoModeOn, #numChannels: 4]"},
      {"polyModeOn", {1}, "[#type: #polyModeOn]"},
      {"mtcQuarterFrame", {3, 5}, "[#type: #mtcQuarterFrame, #subFrame: 3, #data: 5]"},
      {"songPositionPointer", {272}, "[#type: #songPositionPointer, #position: 272]"},
      {"songSelect", {5}, "[#type: #songSelect, #number: 5]"},
      {"tuneRequest", {}, "[#type: #tuneRequest]"},
      {"clock", {}, "[#type: #clock]"},
      {"start", {}, "[#type: #start]"},
      {"continue", {}, "[#type: #continue]"},
      {"stop", {}, "[#type: #stop]"},
      {"activeSensing", {}, "[#type: #activeSensing]"},
      {"systemReset", {}, "[#type: #systemReset]"},
  };
  openLoopback();
  for (const auto& c : cases) ASSERT_EQ(send(message(c.type, c.values)), 0) << c.type;
  ASSERT_EQ(send(sysexMessage(125, {1, 2})), 0);
  ASSERT_EQ(send(sysexMessage(125, {})), 0);
  // Lengths outside 1 to 3 send nothing.
  EXPECT_EQ(instance->SendShortMessage(0x90, 60, 100, 0), 0);
  EXPECT_EQ(instance->SendShortMessage(0x90, 60, 100, 4), 0);
  expectNoValueLeft();
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  for (const auto& c : cases) EXPECT_EQ(next(), c.received) << c.type;
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2]]");
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 125, #data: []]");
  EXPECT_EQ(next(), "[:]");
  expectNoValueLeft();
}

constexpr std::int32_t kLargeQueue = 1 << 18;
constexpr std::int32_t kManufacturer = 0x7D;
// With 0xF0, the manufacturer and 0xF7: 64 KB on the wire.
constexpr std::uint32_t kLargeDataBytes = 65536 - 3;

class LargeSysexTest : public InstanceTest {
 protected:
  void SetUp() override {
    InstanceTest::SetUp();
    for (std::uint32_t i = 0; i < kLargeDataBytes; ++i) data.push_back(i * 7 % 128);
    openLoopback(kLargeQueue);
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
  ASSERT_EQ(send(sysexMessage(kManufacturer, data)), 0);
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

TEST_F(LoopbackTest, ReceivedMessagesCarryTheInstanceTimer) {
  openLoopback();
  instance->ResetTimer();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const std::int32_t before = instance->GetTime();
  ASSERT_TRUE(inject({{0x90, 60, 100}}));
  const std::int32_t after = instance->GetTime();
  std::int32_t timestamp = -1;
  EXPECT_EQ(next(&timestamp), "[#type: #noteOn, #channel: 1, #number: 60, #velocity: 100]");
  EXPECT_GE(timestamp, std::max(before, 20));
  EXPECT_LE(timestamp, after);
}

}  // namespace
