// The input port cuts each packet of a list into short messages, or passes system-exclusive
// data on whole, and stamps the whole list with one reading of its clock.
#include <cstdint>
#include <memory>
#include <vector>

#include "MidiConsumer.h"
#include "OSXMidiIn.h"
#include "TimeSource.h"
#include "TransportTestSupport.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

enum Kind { Short, Start, Continuation };

struct Delivery {
  Kind kind;
  double timeSeconds;  // -1 for continuations, which carry none
  Bytes bytes;
  bool operator==(const Delivery&) const = default;
};

// Records what the port delivers; each packet list reads the next tick of its clock.
class Recorder : public MidiConsumer, public TimeSource {
 public:
  void processShortMessage(double t, std::uint8_t s, std::uint8_t d1, std::uint8_t d2) override {
    deliveries.push_back({Short, t, {s, d1, d2}});
  }
  void processSysexStart(double t, const std::uint8_t* bytes, std::uint32_t length) override {
    deliveries.push_back({Start, t, Bytes(bytes, bytes + length)});
  }
  void processSysexContinuation(const std::uint8_t* bytes, std::uint32_t length) override {
    deliveries.push_back({Continuation, -1, Bytes(bytes, bytes + length)});
  }
  double currentTimeSeconds() override { return ++ticks; }

  std::vector<Delivery> deliveries;
  int ticks = 0;
};

class OSXMidiInTest : public TransportTest {
 protected:
  void SetUp() override {
    TransportTest::SetUp();
    DeviceList sources;
    fwGetMidiInputDevices(sources);
    ASSERT_EQ(sources.size(), 1);
    port->setDevice(sources.at(0));
  }
  // The port goes before the fixture checks that its client reference was given back.
  void TearDown() override {
    port.reset();
    TransportTest::TearDown();
  }

  Recorder recorder;
  std::unique_ptr<OSXMidiIn> port = std::make_unique<OSXMidiIn>();
};

TEST_F(OSXMidiInTest, CutsEachPacketIntoShortMessagesOrPassesSysexWhole) {
  const struct {
    const char* name;
    std::vector<Bytes> packets;
    std::vector<Delivery> expected;
  } cases[] = {
      {"note on", {{0x90, 0x3C, 0x64}}, {{Short, 1, {0x90, 0x3C, 0x64}}}},
      {"two messages",
       {{0x90, 0x3C, 0x64, 0x80, 0x3C, 0x00}},
       {{Short, 1, {0x90, 0x3C, 0x64}}, {Short, 1, {0x80, 0x3C, 0x00}}}},
      {"running status makes it over 3", {{0x90, 0x3C, 0x64, 0x3E, 0x64}}, {}},
      {"length from the bytes, not the status", {{0x90, 0x3C}}, {{Short, 1, {0x90, 0x3C, 0}}}},
      {"real time cuts a message",
       {{0x90, 0xF8, 0x40, 0x7F}},
       {{Short, 1, {0x90, 0, 0}}, {Short, 1, {0xF8, 0x40, 0x7F}}}},
      {"F7 walks like a status", {{0xF7, 0x01}}, {{Short, 1, {0xF7, 0x01, 0}}}},
      {"sysex with a message behind F7",
       {{0xF0, 0x41, 0x10, 0xF7, 0x90, 0x3C, 0x64}},
       {{Start, 1, {0xF0, 0x41, 0x10, 0xF7, 0x90, 0x3C, 0x64}}}},
      {"data bytes continue",
       {{0x10, 0x20, 0xF7}, {0x3C, 0x64}},
       {{Continuation, -1, {0x10, 0x20, 0xF7}}, {Continuation, -1, {0x3C, 0x64}}}},
      {"an empty packet is skipped", {{}, {0xFE}}, {{Short, 1, {0xFE, 0, 0}}}},
      {"one time for the whole list",
       {{0xF8}, {0xF0, 0x01}, {0xC0, 0x05}},
       {{Short, 1, {0xF8, 0, 0}}, {Start, 1, {0xF0, 0x01}}, {Short, 1, {0xC0, 0x05, 0}}}},
  };
  ASSERT_TRUE(port->start(&recorder, &recorder));
  for (const auto& c : cases) {
    recorder.deliveries.clear();
    recorder.ticks = 0;
    ASSERT_TRUE(inject(c.packets));
    EXPECT_EQ(recorder.deliveries, c.expected) << c.name;
    EXPECT_EQ(recorder.ticks, 1) << c.name;
  }
  port->stop();
  ASSERT_TRUE(inject({{0xFA}}));
  EXPECT_EQ(recorder.deliveries.size(), 3u) << "delivered after stop";
}

}  // namespace
