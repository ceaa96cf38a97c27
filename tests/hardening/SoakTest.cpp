// A steady stream through the loopback bus while a script-like consumer drains at 60 Hz. With
// room enough nothing is lost and order is kept; with too little, every message is either
// received or counted lost, and the overflow flag says so. TONVIK_SOAK_SECONDS sets the length
// of each run (2 s by default, so the suite stays quick; 30 for a real soak).
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>
#include <vector>

#include "TransportTestSupport.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kDefaultSoakSeconds = 2.0;
constexpr auto kBurstInterval = std::chrono::milliseconds(20);
constexpr int kBurstMessages = 200;  // 10 000 messages per second
constexpr auto kFrameInterval = std::chrono::microseconds(16667);
// Pitch bends on all 16 channels carry an 18-bit sequence number.
constexpr std::uint32_t kSequenceBits = 18;
constexpr std::uint32_t kSequenceModulus = 1u << kSequenceBits;
constexpr std::int32_t kPitchBendCentre = 8192;
constexpr std::int32_t kRoomyQueue = 1 << 20;
constexpr std::int32_t kTightQueue = 1024;  // 146 messages, less than one burst

double soakSeconds() {
  const char* text = std::getenv("TONVIK_SOAK_SECONDS");
  const double seconds = text != nullptr ? std::atof(text) : 0.0;
  return seconds > 0.0 ? seconds : kDefaultSoakSeconds;
}

struct Tally {
  std::uint64_t sent = 0, received = 0, lost = 0, outOfOrder = 0;
  bool overflowed = false;
  std::uint32_t expected = 0;  // the sequence number due next
};

class SoakTest : public InstanceTest {
 protected:
  void drainInto(Tally& tally) {
    LingoValue messages = store.makeLinearList();
    instance->GetPendingMessages(&messages);
    for (std::int32_t i = 1; i <= store.count(messages); ++i) {
      LingoValue message = store.itemAt(messages, i);
      LingoValue channel = store.itemAt(message, 2);
      LingoValue amount = store.itemAt(message, 3);
      const std::uint32_t sequence =
          static_cast<std::uint32_t>(store.integer(channel) - 1) << 14 |
          static_cast<std::uint32_t>(store.integer(amount) + kPitchBendCentre);
      const std::uint32_t gap = (sequence - tally.expected) % kSequenceModulus;
      // A gap of more than half the sequence space is a message older than the last one seen.
      if (gap < kSequenceModulus / 2) {
        tally.lost += gap;
      } else {
        ++tally.outOfOrder;
      }
      ++tally.received;
      tally.expected = (sequence + 1) % kSequenceModulus;
      for (LingoValue* value : {&amount, &channel, &message}) store.release(*value);
    }
    store.release(messages);
    if (instance->InputOverflowed()) tally.overflowed = true;
  }
};

// With room, nothing is lost; with a queue smaller than one burst, some is, and the flag says so.
TEST_F(SoakTest, EveryMessageIsReceivedInOrderOrCountedLost) {
  for (const std::int32_t queueBytes : {kRoomyQueue, kTightQueue}) {
    openLoopback(queueBytes);
    Tally tally;
    std::atomic<bool> stop{false};
    // The sender alone counts what it sent, read once it has been joined.
    std::thread sender([&] {
      auto next = Clock::now();
      std::uint32_t sequence = 0;
      while (!stop.load()) {
        std::vector<virtualmidi::Packet> burst;
        for (int i = 0; i < kBurstMessages; ++i) {
          const std::uint32_t s = sequence++ % kSequenceModulus;
          burst.push_back({static_cast<Byte>(0xE0 | (s >> 14 & 0x0F)), static_cast<Byte>(s & 0x7F),
                           static_cast<Byte>(s >> 7 & 0x7F)});
        }
        if (!inject(burst)) break;
        tally.sent += kBurstMessages;
        next += kBurstInterval;
        std::this_thread::sleep_until(next);
      }
    });
    const auto end = Clock::now() + std::chrono::duration<double>(soakSeconds());
    auto frame = Clock::now();
    while (Clock::now() < end) {
      frame += kFrameInterval;
      std::this_thread::sleep_until(frame);
      drainInto(tally);
    }
    stop = true;
    sender.join();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    drainInto(tally);
    // Messages lost after the last one received.
    tally.lost += (tally.sent - tally.expected) % kSequenceModulus;
    expectNoValueLeft();

    const bool tight = queueBytes == kTightQueue;
    EXPECT_GT(tally.sent, 0u);
    EXPECT_EQ(tally.received + tally.lost, tally.sent) << queueBytes;
    EXPECT_EQ(tally.outOfOrder, 0u) << queueBytes;
    EXPECT_EQ(tally.lost > 0, tight) << queueBytes;
    EXPECT_EQ(tally.overflowed, tight) << queueBytes;
    ASSERT_EQ(instance->CloseInput(), 0);
    ASSERT_EQ(instance->CloseOutput(), 0);
  }
}

}  // namespace
