// End to end through the default loopback entity: out with SendMessage, back in with
// GetNextMessage.
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "InstanceTestSupport.h"

namespace {

using LoopbackTest = InstanceTest;

constexpr std::uint32_t kLargeSysexBytes = 65536;
constexpr std::int32_t kLargeQueue = 1 << 18;
constexpr std::uint8_t kManufacturer = 0x7D;

TEST_F(LoopbackTest, EveryMessageKindComesBackAsItWasSent) {
  openLoopback();
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
  for (const auto& c : cases) ASSERT_EQ(send(message(c.type, c.values)), 0) << c.type;
  ASSERT_EQ(send(sysexMessage(125, {1, 2})), 0);
  ASSERT_EQ(send(sysexMessage(125, {})), 0);
  expectNoValueLeft();
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  for (const auto& c : cases) EXPECT_EQ(next(), c.received) << c.type;
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2]]");
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 125, #data: []]");
  EXPECT_EQ(next(), "[:]");
  expectNoValueLeft();
}

TEST_F(LoopbackTest, ShortMessagesOfLength0Or4SendNothing) {
  openLoopback();
  EXPECT_EQ(instance->SendShortMessage(0x90, 60, 100, 0), 0);
  EXPECT_EQ(instance->SendShortMessage(0x90, 60, 100, 4), 0);
  EXPECT_EQ(instance->SendShortMessage(0xC0, 7, 100, 2), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  EXPECT_EQ(next(), "[#type: #programChange, #channel: 1, #number: 7]");
  EXPECT_FALSE(instance->MessagesPending());
}

// Reads the data list of a received system-exclusive message into bytes.
std::vector<std::uint8_t> sysexData(director::ValueStore& store, MacOsxTonvik& instance,
                                    std::int32_t* manufacturer) {
  LingoValue received = store.makePropertyList();
  instance.GetNextMessage(&received);
  std::vector<std::uint8_t> bytes;
  if (store.count(received) == 4) {
    LingoValue id = store.itemAt(received, 2);
    *manufacturer = store.integer(id);
    store.release(id);
    LingoValue data = store.itemAt(received, 3);
    for (std::int32_t i = 1; i <= store.count(data); ++i) {
      LingoValue item = store.itemAt(data, i);
      bytes.push_back(static_cast<std::uint8_t>(store.integer(item)));
      store.release(item);
    }
    store.release(data);
  }
  store.release(received);
  return bytes;
}

std::vector<std::int32_t> pattern(std::uint32_t count) {
  std::vector<std::int32_t> values(count);
  for (std::uint32_t i = 0; i < count; ++i) values[i] = static_cast<std::int32_t>(i * 7 % 128);
  return values;
}

TEST_F(LoopbackTest, A64KilobyteSysexGoesOutWhole) {
  openLoopback(kLargeQueue);
  const std::vector<std::int32_t> data = pattern(kLargeSysexBytes - 3);
  ASSERT_EQ(send(sysexMessage(kManufacturer, data)), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  std::int32_t manufacturer = -1;
  const std::vector<std::uint8_t> received = sysexData(store, *instance, &manufacturer);
  EXPECT_EQ(manufacturer, kManufacturer);
  EXPECT_EQ(received, std::vector<std::uint8_t>(data.begin(), data.end()));
  EXPECT_FALSE(instance->MessagesPending());
  expectNoValueLeft();
}

TEST_F(LoopbackTest, A64KilobyteSysexComesInWholeFromChunks) {
  constexpr std::uint32_t kChunk = 1024;
  openLoopback(kLargeQueue);
  const std::vector<std::int32_t> data = pattern(kLargeSysexBytes - 3);
  std::vector<std::uint8_t> wire{0xF0, kManufacturer};
  wire.insert(wire.end(), data.begin(), data.end());
  wire.push_back(0xF7);
  std::vector<virtualmidi::Packet> packets;
  for (std::uint32_t at = 0; at < wire.size(); at += kChunk) {
    packets.emplace_back(wire.begin() + at,
                         wire.begin() + std::min<std::size_t>(at + kChunk, wire.size()));
  }
  ASSERT_TRUE(virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, packets));
  std::int32_t manufacturer = -1;
  EXPECT_EQ(sysexData(store, *instance, &manufacturer),
            std::vector<std::uint8_t>(data.begin(), data.end()));
  EXPECT_EQ(manufacturer, kManufacturer);
}

TEST_F(LoopbackTest, ReceivedMessagesCarryTheInstanceTimer) {
  openLoopback();
  instance->ResetTimer();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const std::int32_t before = instance->GetTime();
  ASSERT_TRUE(virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, {{0x90, 60, 100}}));
  const std::int32_t after = instance->GetTime();
  std::int32_t timestamp = -1;
  EXPECT_EQ(next(&timestamp), "[#type: #noteOn, #channel: 1, #number: 60, #velocity: 100]");
  EXPECT_GE(timestamp, before);
  EXPECT_LE(timestamp, after);
  EXPECT_GE(timestamp, 20);
}

TEST_F(LoopbackTest, AfterCloseInputNothingMoreIsQueued) {
  openLoopback();
  ASSERT_EQ(instance->CloseInput(), 0);
  ASSERT_EQ(send(message("start")), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  EXPECT_FALSE(instance->MessagesPending());
  ASSERT_EQ(instance->OpenInput(0, 0), 0);
  ASSERT_EQ(send(message("continue")), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  EXPECT_EQ(next(), "[#type: #continue]");
}

}  // namespace
