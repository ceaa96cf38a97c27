#include <cstdint>
#include <memory>
#include <vector>

#include "OSXMidiOut.h"
#include "TransportTestSupport.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const char* kSynth = "Synth";
constexpr SInt32 kSynthAdvanceMicroseconds = 2500;

// One device with one plain destination, so that what is sent can be captured.
class OSXMidiOutTest : public TransportTest {
 protected:
  void SetUp() override {
    TransportTest::SetUp();
    virtualmidi::Setup setup;
    setup.devices.push_back(
        {kSynth, {{kSynth, {}, {{kSynth, kSynthAdvanceMicroseconds}}, false}}, true});
    replaceSetup(setup);
    port->setDevice(firstDestination());
  }

  static std::vector<Bytes> captured() {
    std::vector<Bytes> packets;
    for (auto& packet : virtualmidi::takeCapturedByName(kSynth)) packets.push_back(packet.bytes);
    return packets;
  }

  static MIDISysexSendRequest request(const Bytes& bytes) {
    return {0, bytes.data(), static_cast<UInt32>(bytes.size()), false, {}, nullptr, nullptr};
  }

  // Destroyed before the fixture checks that every client reference was given back.
  void TearDown() override {
    port.reset();
    TransportTest::TearDown();
  }

  std::unique_ptr<OSXMidiOut> port = std::make_unique<OSXMidiOut>();
};

TEST_F(OSXMidiOutTest, SendsTheCountedBytesOfOnePacket) {
  ASSERT_TRUE(port->start());
  port->sendBytes(0.0, 2, 0xC1, 0x05, 0x77);
  port->sendBytes(0.0, 3, 0x90, 0x3C, 0x64);
  EXPECT_EQ(captured(), (std::vector<Bytes>{{0xC1, 0x05}, {0x90, 0x3C, 0x64}}));
  EXPECT_DOUBLE_EQ(port->scheduleInAdvanceSeconds(), kSynthAdvanceMicroseconds * 0.000001);
  port->stop();
}

TEST_F(OSXMidiOutTest, AnInactivePortSendsNothing) {
  const Bytes sysex{0xF0, 0x7D, 0xF7};
  MIDISysexSendRequest req = request(sysex);
  port->sendBytes(0.0, 1, 0xF8, 0, 0);
  EXPECT_FALSE(port->sendSysexRequest(&req));
  ASSERT_TRUE(port->start());
  port->stop();
  port->stop();
  port->sendBytes(0.0, 1, 0xF8, 0, 0);
  EXPECT_FALSE(port->sendSysexRequest(&req));
  EXPECT_TRUE(captured().empty());
}

TEST_F(OSXMidiOutTest, AFailedSendSilencesThePortUntilItIsStartedAgain) {
  const Bytes sysex{0xF0, 0x7D, 0xF7};
  MIDISysexSendRequest req = request(sysex);
  ASSERT_TRUE(port->start());
  midisystem::failNext(midisystem::Failure::Send);
  port->sendBytes(0.0, 1, 0xF8, 0, 0);
  port->sendBytes(0.0, 1, 0xFA, 0, 0);
  EXPECT_FALSE(port->sendSysexRequest(&req));
  EXPECT_TRUE(captured().empty());
  port->stop();
  ASSERT_TRUE(port->start());
  port->sendBytes(0.0, 1, 0xFC, 0, 0);
  EXPECT_EQ(captured(), std::vector<Bytes>{{0xFC}});
  port->stop();
}

TEST_F(OSXMidiOutTest, ARefusedSysexLeavesSendingOn) {
  const Bytes sysex{0xF0, 0x7D, 0xF7};
  MIDISysexSendRequest req = request(sysex);
  ASSERT_TRUE(port->start());
  midisystem::failNext(midisystem::Failure::SendSysex);
  EXPECT_FALSE(port->sendSysexRequest(&req));
  port->sendBytes(0.0, 1, 0xFE, 0, 0);
  EXPECT_EQ(captured(), std::vector<Bytes>{{0xFE}});
  port->stop();
}

TEST_F(OSXMidiOutTest, StartFailsWithoutADestination) {
  OSXMidiOut unselected;
  EXPECT_FALSE(unselected.start());
  unplug(kSynth);
  EXPECT_FALSE(port->start());
  EXPECT_FALSE(port->isActive());
}

TEST_F(OSXMidiOutTest, APortThatCouldNotBeCreatedIsCreatedAtStart) {
  midisystem::failNext(midisystem::Failure::OutputPortCreate);
  OSXMidiOut late;
  late.setDevice(firstDestination());
  ASSERT_TRUE(late.start());
  late.sendBytes(0.0, 1, 0xF6, 0, 0);
  EXPECT_EQ(captured(), std::vector<Bytes>{{0xF6}});
  late.stop();
}

TEST_F(OSXMidiOutTest, SchedulingOnAnInactivePortIsAnAssertion) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(port->scheduleInAdvanceSeconds(),
               "Assertion failed: isActive_, function scheduleInAdvanceSeconds, file OSXMidiOut");
}

}  // namespace
