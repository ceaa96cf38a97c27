#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "MidiConsumer.h"
#include "OSXMidiIn.h"
#include "TimeSource.h"
#include "TransportTestSupport.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

enum class Kind { Short, SysexStart, SysexContinuation };

struct Delivery {
  Kind kind;
  double timeSeconds;
  Bytes bytes;
  bool operator==(const Delivery&) const = default;
};

Delivery shortMessage(double t, std::uint8_t s, std::uint8_t d1, std::uint8_t d2) {
  return {Kind::Short, t, {s, d1, d2}};
}

// Every call of one packet list reads the same tick; each list reads the next one.
class RecordingPort : public MidiConsumer, public TimeSource {
 public:
  void processShortMessage(double t, std::uint8_t s, std::uint8_t d1, std::uint8_t d2) override {
    deliveries.push_back(shortMessage(t, s, d1, d2));
  }
  void processSysexStart(double t, const std::uint8_t* bytes, std::uint32_t length) override {
    deliveries.push_back({Kind::SysexStart, t, Bytes(bytes, bytes + length)});
  }
  void processSysexContinuation(const std::uint8_t* bytes, std::uint32_t length) override {
    deliveries.push_back({Kind::SysexContinuation, -1.0, Bytes(bytes, bytes + length)});
  }
  double currentTimeSeconds() override { return ++ticks; }

  std::vector<Delivery> deliveries;
  int ticks = 0;
};

class OSXMidiInTest : public TransportTest {
 protected:
  void startPort() {
    port->setDevice(firstSource());
    ASSERT_TRUE(port->start(&recorder, &recorder));
  }
  void inject(const std::vector<Bytes>& packets) {
    ASSERT_TRUE(virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, packets));
  }

  RecordingPort recorder;
  // Destroyed before the fixture checks that every client reference was given back.
  void TearDown() override {
    port.reset();
    TransportTest::TearDown();
  }

  std::unique_ptr<OSXMidiIn> port = std::make_unique<OSXMidiIn>();
};

struct CuttingCase {
  const char* name;
  std::vector<Bytes> packets;
  std::vector<Delivery> expected;
};

TEST_F(OSXMidiInTest, CutsPacketsIntoMessagesAndSysexPieces) {
  const CuttingCase cases[] = {
      {"note on", {{0x90, 0x3C, 0x64}}, {shortMessage(1, 0x90, 0x3C, 0x64)}},
      {"two messages",
       {{0x90, 0x3C, 0x64, 0x80, 0x3C, 0x00}},
       {shortMessage(1, 0x90, 0x3C, 0x64), shortMessage(1, 0x80, 0x3C, 0x00)}},
      {"running status is dropped as over 3", {{0x90, 0x3C, 0x64, 0x3E, 0x64}}, {}},
      {"program change", {{0xC0, 0x05}}, {shortMessage(1, 0xC0, 0x05, 0)}},
      {"note on with one data byte", {{0x90, 0x3C}}, {shortMessage(1, 0x90, 0x3C, 0)}},
      {"clock", {{0xF8}}, {shortMessage(1, 0xF8, 0, 0)}},
      {"real time cuts a message",
       {{0x90, 0xF8, 0x40, 0x7F}},
       {shortMessage(1, 0x90, 0, 0), shortMessage(1, 0xF8, 0x40, 0x7F)}},
      {"F7 is walked like a status", {{0xF7, 0x01}}, {shortMessage(1, 0xF7, 0x01, 0)}},
      {"sysex packet passes whole",
       {{0xF0, 0x41, 0x10, 0xF7, 0x90, 0x3C, 0x64}},
       {{Kind::SysexStart, 1, {0xF0, 0x41, 0x10, 0xF7, 0x90, 0x3C, 0x64}}}},
      {"continuation", {{0x10, 0x20, 0xF7}}, {{Kind::SysexContinuation, -1, {0x10, 0x20, 0xF7}}}},
      {"data only", {{0x3C, 0x64}}, {{Kind::SysexContinuation, -1, {0x3C, 0x64}}}},
      {"empty packet is skipped", {{}, {0xFE}}, {shortMessage(1, 0xFE, 0, 0)}},
      {"one time for the whole list",
       {{0xF8}, {0xF0, 0x01}, {0xFA}},
       {shortMessage(1, 0xF8, 0, 0),
        {Kind::SysexStart, 1, {0xF0, 0x01}},
        shortMessage(1, 0xFA, 0, 0)}},
  };
  startPort();
  for (const CuttingCase& c : cases) {
    recorder.deliveries.clear();
    recorder.ticks = 0;
    inject(c.packets);
    EXPECT_EQ(recorder.deliveries, c.expected) << c.name;
    EXPECT_EQ(recorder.ticks, 1) << c.name;
  }
  port->stop();
}

TEST_F(OSXMidiInTest, StopDisconnectsAndStopWhenInactiveDoesNothing) {
  port->stop();
  startPort();
  EXPECT_TRUE(port->isActive());
  port->stop();
  EXPECT_FALSE(port->isActive());
  port->stop();
  inject({{0x90, 0x3C, 0x64}});
  EXPECT_TRUE(recorder.deliveries.empty());
}

TEST_F(OSXMidiInTest, StartFailsForAVanishedSourceAFailedConnectionOrNoConsumer) {
  port->setDevice(firstSource());
  EXPECT_FALSE(port->start(nullptr, &recorder));
  midisystem::failNext(midisystem::Failure::ConnectSource);
  EXPECT_FALSE(port->start(&recorder, &recorder));
  unplug();
  EXPECT_FALSE(port->start(&recorder, &recorder));
  EXPECT_FALSE(port->isActive());
}

TEST_F(OSXMidiInTest, APortThatCouldNotBeCreatedIsCreatedAtStart) {
  midisystem::failNext(midisystem::Failure::InputPortCreate);
  OSXMidiIn late;
  late.setDevice(firstSource());
  ASSERT_TRUE(late.start(&recorder, &recorder));
  inject({{0xFA}});
  EXPECT_EQ(recorder.deliveries, std::vector<Delivery>{shortMessage(1, 0xFA, 0, 0)});
}

// A consumer that holds the receive thread inside its first call until it is let go.
class BlockingConsumer : public RecordingPort {
 public:
  void processShortMessage(double, std::uint8_t, std::uint8_t, std::uint8_t) override {
    entered = true;
    while (!released) std::this_thread::yield();
    left = true;
  }
  std::atomic<bool> entered{false}, released{false}, left{false};
};

TEST_F(OSXMidiInTest, StopWaitsForAReadProcedureInFlight) {
  BlockingConsumer consumer;
  port->setDevice(firstSource());
  ASSERT_TRUE(port->start(&consumer, &consumer));
  std::thread injector([] {
    virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, {{0x90, 0x3C, 0x64}});
  });
  while (!consumer.entered) std::this_thread::yield();
  std::atomic<bool> stopped{false};
  bool leftBeforeStopReturned = false;
  std::thread stopper([&] {
    port->stop();
    leftBeforeStopReturned = consumer.left;
    stopped = true;
  });
  // However long this takes, stop must not have come back while the consumer is still in use.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(stopped);
  consumer.released = true;
  stopper.join();
  injector.join();
  EXPECT_TRUE(leftBeforeStopReturned);
}

TEST_F(OSXMidiInTest, SetDeviceOnAnActivePortIsAnAssertion) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  startPort();
  EXPECT_DEATH(port->setDevice(firstSource()),
               "Assertion failed: isActive_ == false, function setDevice, file OSXMidiIn.cpp");
  port->stop();
}

}  // namespace
