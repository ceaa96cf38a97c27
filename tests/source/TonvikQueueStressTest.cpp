// One producer thread feeds the receive path while the host thread drains the queue at random.
// Every message carries its sequence number as its timestamp, so the consumer can tell that what
// arrives is intact and in order, and that every gap was reported as an overflow.
#include <atomic>
#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "TonvikTestPlatform.h"

namespace {

struct Event {
  enum Kind { Short, SysexStart, SysexContinuation } kind;
  std::vector<std::uint8_t> bytes;
  std::uint32_t timestamp;
};

// A deterministic stream of short messages and chunked system-exclusive messages with short
// messages between the chunks, and what the script must receive for each sequence number.
struct Stream {
  std::vector<Event> events;
  std::vector<std::string> expected;
};

Stream makeStream(std::uint32_t messages, std::uint32_t seed) {
  Stream stream;
  std::mt19937 random(seed);
  auto below = [&](std::uint32_t n) { return static_cast<std::uint8_t>(random() % n); };
  auto stamp = [](std::uint32_t seq) { return ", #timestamp: " + std::to_string(seq) + "]"; };
  std::uint32_t seq = 0;

  auto addShort = [&]() {
    const std::uint8_t channel = below(16), a = below(128), b = below(128) | 1;
    const std::string voice =
        ", #channel: " + std::to_string(channel + 1) + ", #number: " + std::to_string(a);
    std::string text;
    std::vector<std::uint8_t> bytes;
    switch (below(3)) {
      case 0:
        bytes = {static_cast<std::uint8_t>(0x90 | channel), a, b};
        text = "noteOn" + voice + ", #velocity: " + std::to_string(b);
        break;
      case 1:
        bytes = {static_cast<std::uint8_t>(0xC0 | channel), a, 0};
        text = "programChange" + voice;
        break;
      default:
        bytes = {0xF8, 0, 0};
        text = "clock";
        break;
    }
    stream.events.push_back({Event::Short, bytes, seq});
    stream.expected.push_back("[#type: #" + text + stamp(seq++));
  };

  auto addSysex = [&]() {
    const std::uint32_t sysexSeq = seq++;
    stream.expected.emplace_back();
    const std::uint8_t id = below(128);
    std::vector<std::uint8_t> bytes{0xF0, id};
    std::string data;
    for (int i = 0, length = 1 + below(200); i < length; ++i) {
      bytes.push_back(below(128));
      data += (i == 0 ? "" : ", ") + std::to_string(bytes.back());
    }
    bytes.push_back(0xF7);
    stream.expected[sysexSeq] = "[#type: #systemExclusive, #manufacturerID: " + std::to_string(id) +
                                ", #data: [" + data + "]" + stamp(sysexSeq);
    const int chunks = 1 + below(4);
    for (std::size_t begin = 0, chunk = 0; begin < bytes.size(); ++chunk) {
      std::size_t end = begin + 1 + below(80);
      if (chunk == chunks - 1u || end >= bytes.size() - 1) end = bytes.size();
      stream.events.push_back({chunk == 0 ? Event::SysexStart : Event::SysexContinuation,
                               {bytes.begin() + begin, bytes.begin() + end},
                               sysexSeq});
      begin = end;
      if (end < bytes.size()) {
        for (int held = below(4); held > 0; --held) addShort();
      }
    }
  };

  while (seq < messages) {
    if (below(10) == 0) {
      addSysex();
    } else {
      addShort();
    }
  }
  return stream;
}

class QueueStressTest : public TonvikFixture {
 protected:
  struct Outcome {
    std::uint32_t received = 0;
    std::uint32_t gaps = 0;
    std::uint32_t overflowReports = 0;
  };

  // The producer waits for an empty ring after every burst of events, so only a burst larger
  // than the ring can overflow it.
  Outcome run(const Stream& stream, std::uint32_t ringSize, std::uint32_t burst) {
    EXPECT_EQ(platform_.CloseInput(), kErrNone);
    EXPECT_EQ(platform_.OpenInput(0, static_cast<std::int32_t>(ringSize)), kErrNone);

    std::atomic<bool> done{false};
    bool stalled = false;
    std::thread producer([&] {
      std::uint32_t sent = 0;
      for (const Event& event : stream.events) {
        if (++sent % burst == 0 && !drained()) {
          stalled = true;
          break;
        }
        const auto length = static_cast<std::uint32_t>(event.bytes.size());
        switch (event.kind) {
          case Event::Short:
            platform_.ReceiveShortMessage(event.bytes[0], event.bytes[1], event.bytes[2],
                                          event.timestamp);
            break;
          case Event::SysexStart:
            platform_.ReceiveSysexStart(event.bytes.data(), length, event.timestamp);
            break;
          case Event::SysexContinuation:
            platform_.ReceiveSysexContinuation(event.bytes.data(), length);
            break;
        }
      }
      done.store(true, std::memory_order_release);
    });

    Outcome outcome;
    std::int64_t last = -1;
    auto check = [&](const LingoValue& message) {
      const std::string printed = store_.print(message);
      const std::size_t at = printed.rfind("#timestamp: ");
      ASSERT_NE(at, std::string::npos) << printed;
      const std::int64_t seq = std::stoll(printed.substr(at + 12));
      ASSERT_GT(seq, last) << "out of order";
      ASSERT_LT(seq, static_cast<std::int64_t>(stream.expected.size())) << printed;
      ASSERT_EQ(printed, stream.expected[seq]);
      if (seq != last + 1) ++outcome.gaps;
      last = seq;
      ++outcome.received;
    };

    std::mt19937 random(7);
    while (!done.load(std::memory_order_acquire) || platform_.MessagesPending()) {
      const std::uint32_t action = random() % 10;
      if (action < 6) {
        LingoValue message = store_.makePropertyList();
        platform_.GetNextMessage(&message);
        if (store_.count(message) > 0) check(message);
        store_.release(message);
      } else if (action < 9) {
        LingoValue messages = store_.makeLinearList();
        platform_.GetPendingMessages(&messages);
        for (std::int32_t i = 1; i <= store_.count(messages); ++i) {
          LingoValue message = store_.itemAt(messages, i);
          check(message);
          store_.release(message);
        }
        store_.release(messages);
      } else if (platform_.InputOverflowed()) {
        ++outcome.overflowReports;
      }
      if (::testing::Test::HasFatalFailure()) {
        // Keep the producer from waiting for room forever.
        while (!done.load(std::memory_order_acquire)) platform_.FlushInput();
        break;
      }
    }
    producer.join();
    EXPECT_FALSE(stalled) << "the queue never drained";
    if (platform_.InputOverflowed()) ++outcome.overflowReports;
    return outcome;
  }

 private:
  bool drained() const {
    // Far beyond any drain time, even under a sanitizer; only a broken queue waits this long.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (TonvikBaseInspector::readIndex(platform_) !=
           TonvikBaseInspector::writeIndex(platform_)) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
    }
    return true;
  }
};

TEST_F(QueueStressTest, BurstsThatFitLoseNothing) {
  // Ten events take at most ten sysex chunks of 81 bytes and their held messages: under 2 KB.
  const Stream stream = makeStream(12000, 1);
  const Outcome outcome = run(stream, 4096, 10);
  EXPECT_EQ(outcome.overflowReports, 0u);
  EXPECT_EQ(outcome.gaps, 0u);
  EXPECT_EQ(outcome.received, stream.expected.size());
}

TEST_F(QueueStressTest, WhatOverflowsIsReportedAndTheRestArrivesInOrder) {
  const Stream stream = makeStream(12000, 2);
  const Outcome outcome = run(stream, 1024, 300);
  EXPECT_GT(outcome.received, 0u);
  if (outcome.received < stream.expected.size() || outcome.gaps > 0) {
    EXPECT_GT(outcome.overflowReports, 0u);
  }
}

}  // namespace
