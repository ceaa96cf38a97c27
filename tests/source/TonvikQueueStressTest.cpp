// One producer thread feeds the receive path while the host thread drains the queue, flushes it
// and reads the overflow flag at random. Every message carries its sequence number as its
// timestamp, so the consumer can tell that what arrives is intact, in order, and that every gap
// has a cause.
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
  bool completes;  // a sysex chunk ending in 0xF7
};

// A deterministic stream of short messages and chunked system-exclusive messages, with short
// messages between the chunks, and what the script must receive for each sequence number.
struct Stream {
  std::vector<Event> events;
  std::vector<std::string> expected;
};

std::string stamp(std::uint32_t seq) {
  return ", #timestamp: " + std::to_string(seq) + "]";
}

Stream makeStream(std::uint32_t messages, std::uint32_t seed) {
  Stream stream;
  std::mt19937 random(seed);
  auto below = [&](std::uint32_t n) { return static_cast<std::uint8_t>(random() % n); };
  std::uint32_t seq = 0;

  auto addShort = [&]() {
    const std::uint8_t channel = below(16);
    const std::uint8_t a = below(128), b = below(128);
    const std::string ch = std::to_string(channel + 1);
    Event event{Event::Short, {}, seq, false};
    std::string text;
    switch (below(3)) {
      case 0:
        event.bytes = {static_cast<std::uint8_t>(0x90 | channel), a,
                       static_cast<std::uint8_t>(b | 1)};
        text = "[#type: #noteOn, #channel: " + ch + ", #number: " + std::to_string(a) +
               ", #velocity: " + std::to_string(b | 1);
        break;
      case 1:
        event.bytes = {static_cast<std::uint8_t>(0xC0 | channel), a, 0};
        text = "[#type: #programChange, #channel: " + ch + ", #number: " + std::to_string(a);
        break;
      default:
        event.bytes = {0xF8, 0, 0};
        text = "[#type: #clock";
        break;
    }
    stream.events.push_back(event);
    stream.expected.push_back(text + stamp(seq));
    ++seq;
  };

  auto addSysex = [&]() {
    const std::uint32_t sysexSeq = seq++;
    stream.expected.emplace_back();
    const std::uint8_t id = below(128);
    std::vector<std::uint8_t> bytes{0xF0, id};
    std::string data;
    const int length = 1 + below(200);
    for (int i = 0; i < length; ++i) {
      const std::uint8_t byte = below(128);
      bytes.push_back(byte);
      data += (i == 0 ? "" : ", ") + std::to_string(byte);
    }
    bytes.push_back(0xF7);
    stream.expected[sysexSeq] = "[#type: #systemExclusive, #manufacturerID: " + std::to_string(id) +
                                ", #data: [" + data + "]" + stamp(sysexSeq);

    const int chunks = 1 + below(4);
    std::size_t begin = 0;
    for (int chunk = 0;; ++chunk) {
      std::size_t end = begin + 1 + below(80);
      const bool last = chunk == chunks - 1 || end >= bytes.size() - 1;
      if (last) end = bytes.size();
      stream.events.push_back(
          {chunk == 0 ? Event::SysexStart : Event::SysexContinuation,
           std::vector<std::uint8_t>(bytes.begin() + begin, bytes.begin() + end), sysexSeq, last});
      begin = end;
      if (last) break;
      for (int held = below(4); held > 0; --held) addShort();
    }
  };

  stream.expected.reserve(messages + 16);
  while (seq < messages) {
    if (below(10) == 0) {
      addSysex();
    } else {
      addShort();
    }
  }
  return stream;
}

// The producer's own model of the ring, used only to wait for room so that nothing overflows.
class RoomModel {
 public:
  RoomModel(const TonvikBase& base, std::uint32_t size) : base_(base), size_(size) {}

  // False when the room never came: the queue lost track of its bytes.
  bool waitFor(const Event& event) {
    constexpr std::uint32_t kShortRoom = 7;
    const auto length = static_cast<std::uint32_t>(event.bytes.size());
    switch (event.kind) {
      case Event::Short:
        if (!wait(write_, kShortRoom)) return false;
        if (assembling_) {
          held_.push_back(storedLength(event.bytes[0]));
        } else {
          write_ = advance(write_, storedLength(event.bytes[0]) + 4);
        }
        return true;
      case Event::SysexStart:
        held_.clear();
        assembling_ = true;
        sysexWrite_ = write_;
        break;
      case Event::SysexContinuation:
        break;
    }
    const auto held = static_cast<std::uint32_t>(held_.size());
    if (!wait(sysexWrite_, length + 4 + (event.completes ? kShortRoom * (held + 1) : 0))) {
      return false;
    }
    sysexWrite_ = advance(sysexWrite_, length);
    if (event.completes) {
      write_ = advance(sysexWrite_, 4);
      for (std::uint32_t heldLength : held_) write_ = advance(write_, heldLength + 4);
      held_.clear();
      assembling_ = false;
    }
    return true;
  }

 private:
  static std::uint32_t storedLength(std::uint8_t status) {
    if ((status & 0xF0) == 0xC0) return 2;
    return status == 0xF8 ? 1 : 3;
  }
  std::uint32_t advance(std::uint32_t position, std::uint32_t count) const {
    return (position + count) % size_;
  }
  bool wait(std::uint32_t from, std::uint32_t room) const {
    return waitUntil(
        [&] { return (TonvikBaseInspector::readIndex(base_) + size_ - from - 1) % size_ >= room; });
  }

 public:
  bool waitUntilEmpty() const {
    return waitUntil([&] {
      return TonvikBaseInspector::readIndex(base_) == TonvikBaseInspector::writeIndex(base_);
    });
  }

 private:
  template <typename Condition>
  static bool waitUntil(Condition condition) {
    // Far beyond any drain time, even under a sanitizer; only a broken queue waits this long.
    constexpr auto kPatience = std::chrono::seconds(30);
    const auto start = std::chrono::steady_clock::now();
    while (!condition()) {
      if (std::chrono::steady_clock::now() - start > kPatience) return false;
      std::this_thread::yield();
    }
    return true;
  }

  const TonvikBase& base_;
  std::uint32_t size_;
  std::uint32_t write_ = 0;
  std::uint32_t sysexWrite_ = 0;
  bool assembling_ = false;
  std::vector<std::uint32_t> held_;
};

class QueueStressTest : public TonvikFixture {
 protected:
  static constexpr std::uint32_t kBurst = 300;

  struct Outcome {
    std::uint32_t received = 0;
    std::uint32_t gaps = 0;
    std::uint32_t flushes = 0;
    std::uint32_t overflowReports = 0;
  };

  Outcome run(const Stream& stream, std::uint32_t ringSize, bool waitForRoom, bool flush) {
    EXPECT_EQ(platform_.CloseInput(), kErrNone);
    EXPECT_EQ(platform_.OpenInput(0, static_cast<std::int32_t>(ringSize)), kErrNone);

    std::atomic<bool> done{false};
    bool stalled = false;
    std::thread producer([&] {
      RoomModel room(platform_, ringSize);
      std::uint32_t sent = 0;
      for (const Event& event : stream.events) {
        if (waitForRoom && !room.waitFor(event)) {
          stalled = true;
          break;
        }
        // Without waiting, bursts that overflow the ring alternate with drained ones, so that
        // refusals and reads interleave however fast either side runs.
        if (!waitForRoom && ++sent % kBurst == 0 && !room.waitUntilEmpty()) {
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
    bool flushedSinceLast = false;
    auto check = [&](const LingoValue& message) {
      const std::string printed = store_.print(message);
      const std::size_t at = printed.rfind("#timestamp: ");
      ASSERT_NE(at, std::string::npos) << printed;
      const std::int64_t seq = std::stoll(printed.substr(at + 12));
      ASSERT_LT(seq, static_cast<std::int64_t>(stream.expected.size())) << printed;
      ASSERT_EQ(printed, stream.expected[seq]);
      ASSERT_GT(seq, last) << "out of order";
      if (seq != last + 1) {
        ++outcome.gaps;
        if (waitForRoom) {
          ASSERT_TRUE(flushedSinceLast) << "message " << last + 1 << " lost";
        }
      }
      last = seq;
      flushedSinceLast = false;
      ++outcome.received;
    };

    std::mt19937 random(7);
    while (!done.load(std::memory_order_acquire) || platform_.MessagesPending()) {
      const std::uint32_t action = random() % 1000;
      if (action < 600) {
        LingoValue message = store_.makePropertyList();
        platform_.GetNextMessage(&message);
        if (store_.count(message) > 0) check(message);
        store_.release(message);
      } else if (action < 850) {
        LingoValue messages = store_.makeLinearList();
        platform_.GetPendingMessages(&messages);
        for (std::int32_t i = 1; i <= store_.count(messages); ++i) {
          LingoValue message = store_.itemAt(messages, i);
          check(message);
          store_.release(message);
        }
        store_.release(messages);
      } else if (action < 999 || !flush) {
        if (platform_.InputOverflowed()) ++outcome.overflowReports;
      } else {
        platform_.FlushInput();
        flushedSinceLast = true;
        ++outcome.flushes;
      }
      if (::testing::Test::HasFatalFailure()) {
        // Keep the producer from waiting for room forever.
        while (!done.load(std::memory_order_acquire)) platform_.FlushInput();
        break;
      }
    }
    producer.join();
    EXPECT_FALSE(stalled) << "the producer never found room";
    if (platform_.InputOverflowed()) ++outcome.overflowReports;
    return outcome;
  }
};

TEST_F(QueueStressTest, NothingIsLostWhenThereIsRoomExceptWhatIsFlushed) {
  const Stream stream = makeStream(12000, 1);
  const Outcome outcome = run(stream, 4096, /*waitForRoom=*/true, /*flush=*/true);
  EXPECT_EQ(outcome.overflowReports, 0u);
  EXPECT_GT(outcome.received, 0u);
  if (outcome.flushes == 0) {
    EXPECT_EQ(outcome.received, stream.expected.size());
  }
}

TEST_F(QueueStressTest, WhatOverflowsIsReportedAndTheRestArrivesInOrder) {
  const Stream stream = makeStream(12000, 2);
  const Outcome outcome = run(stream, 1024, /*waitForRoom=*/false, /*flush=*/false);
  EXPECT_GT(outcome.received, 0u);
  if (outcome.received < stream.expected.size() || outcome.gaps > 0) {
    EXPECT_GT(outcome.overflowReports, 0u);
  }
}

}  // namespace
