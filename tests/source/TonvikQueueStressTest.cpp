// One producer thread feeds the receive path while the host thread drains the queue at random.
// Every message carries its sequence number as its timestamp, so the consumer can tell that what
// arrives is intact and in order. Overflow under concurrency is the loopback soak's business.
// A producer that outruns the decoder cannot keep one drain from returning.
#include <algorithm>
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

// A deterministic stream of note-ons and chunked system-exclusive messages with note-ons held
// between the chunks, and what the script must receive for each sequence number.
struct Stream {
  std::vector<Event> events;
  std::vector<std::string> expected;
};

Stream makeStream(std::uint32_t messages, std::uint32_t seed) {
  Stream stream;
  std::mt19937 random(seed);
  auto below = [&](std::uint32_t n) { return static_cast<std::uint8_t>(random() % n); };
  auto text = [](auto number) { return std::to_string(number); };
  auto stamp = [&](std::uint32_t seq) { return ", #timestamp: " + text(seq) + "]"; };
  std::uint32_t seq = 0;

  auto addNote = [&]() {
    const std::uint8_t channel = below(16), number = below(128), velocity = below(128) | 1;
    stream.events.push_back(
        {Event::Short, {static_cast<std::uint8_t>(0x90 | channel), number, velocity}, seq});
    stream.expected.push_back("[#type: #noteOn, #channel: " + text(channel + 1) + ", #number: " +
                              text(number) + ", #velocity: " + text(velocity) + stamp(seq++));
  };

  auto addSysex = [&]() {
    const std::uint32_t sysexSeq = seq++;
    const std::uint8_t id = below(128);
    std::vector<std::uint8_t> bytes{0xF0, id};
    std::string data;
    for (int i = 0, length = 1 + below(200); i < length; ++i) {
      bytes.push_back(below(128));
      data += (i == 0 ? "" : ", ") + text(bytes.back());
    }
    bytes.push_back(0xF7);
    stream.expected.push_back("[#type: #systemExclusive, #manufacturerID: " + text(id) +
                              ", #data: [" + data + "]" + stamp(sysexSeq));
    for (std::size_t begin = 0; begin < bytes.size();) {
      std::size_t end = begin + 1 + below(80);
      if (end >= bytes.size() - 1) end = bytes.size();
      stream.events.push_back({begin == 0 ? Event::SysexStart : Event::SysexContinuation,
                               {bytes.begin() + begin, bytes.begin() + end},
                               sysexSeq});
      begin = end;
      for (int held = end < bytes.size() ? below(4) : 0; held > 0; --held) addNote();
    }
  };

  while (seq < messages) below(10) == 0 ? addSysex() : addNote();
  return stream;
}

using QueueStressTest = TonvikFixture;

// The producer waits for an empty ring after every ten events, which take at most ten sysex
// chunks of 81 bytes and the messages held meanwhile, far less than the ring: nothing may be lost.
TEST_F(QueueStressTest, EverythingArrivesIntactAndInOrder) {
  constexpr std::uint32_t kBurst = 10;
  const Stream stream = makeStream(12000, 1);
  ASSERT_EQ(platform_.CloseInput(), kErrNone);
  ASSERT_EQ(platform_.OpenInput(0, 4096), kErrNone);
  // False if the host thread never empties the ring: the deadline is far beyond any drain time,
  // even under a sanitizer.
  auto drained = [&] {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (platform_.MessagesPending()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
    }
    return true;
  };

  std::atomic<bool> done{false};
  bool stalled = false;
  std::thread producer([&] {
    std::uint32_t sent = 0;
    for (const Event& event : stream.events) {
      if (++sent % kBurst == 0 && !drained()) {
        stalled = true;
        break;
      }
      // The receive path reads the instance's clock; only this thread reads it meanwhile.
      platform_.time = static_cast<std::int32_t>(event.timestamp);
      if (event.kind == Event::Short) {
        platform_.receiveShort(event.bytes[0], event.bytes[1], event.bytes[2]);
      } else if (event.kind == Event::SysexStart) {
        platform_.receive(event.bytes);
      } else {
        platform_.receiveMore(event.bytes);
      }
    }
    done.store(true, std::memory_order_release);
  });

  // Drained one message or all at once, at random, until everything sent is read or more than
  // that has arrived.
  std::vector<std::string> received;
  std::mt19937 random(7);
  while ((!done.load(std::memory_order_acquire) || platform_.MessagesPending()) &&
         received.size() <= stream.expected.size()) {
    if (random() % 2 == 0) {
      if (std::string message = next(); message != "[:]") received.push_back(message);
    } else {
      LingoValue messages = store_.makeLinearList();
      platform_.GetPendingMessages(&messages);
      for (std::int32_t i = 1; i <= store_.count(messages); ++i) {
        received.push_back(printAndRelease(store_, store_.itemAt(messages, i)));
      }
      store_.release(messages);
    }
  }
  // Keeps the producer from waiting for room forever when the loop ended early.
  while (!done.load(std::memory_order_acquire)) platform_.FlushInput();
  producer.join();
  EXPECT_FALSE(stalled) << "the queue never drained";
  EXPECT_FALSE(platform_.InputOverflowed());
  for (std::size_t i = 0; i < std::min(received.size(), stream.expected.size()); ++i) {
    ASSERT_EQ(received[i], stream.expected[i]) << "message " << i;
  }
  EXPECT_EQ(received.size(), stream.expected.size());
}

// The producer refills every record the drain frees before the drain decodes the next, whatever
// the scheduler does: a drain that took what arrived meanwhile would return only once the
// producer gave up.
TEST(QueueDrain, OneDrainTakesAtMostWhatWasQueuedWhenItBegan) {
  constexpr std::uint32_t kRing = 4096;
  // A full ring: 5-byte records while 7 bytes of the 4095 usable ones are free.
  constexpr std::size_t kFullRing = (kRing - 1 - 7) / 5 + 1;
  constexpr std::uint32_t kMostRefills = 5000;
  std::atomic<std::uint32_t> refills{0};
  std::atomic<bool> stop{false};
  std::uint32_t decoded = 0;
  director::ValueStore store;
  RecordingPlatform platform(store);
  // A pause before each message is decoded (each gets a new property list) until the producer
  // has refilled every record freed so far.
  store.watchOperations([&](director::HostOperation operation) {
    if (operation != director::HostOperation::NewPropertyList) return;
    const std::uint32_t freed = decoded++;
    while (refills.load(std::memory_order_acquire) < std::min(freed, kMostRefills)) {
      std::this_thread::yield();
    }
  });
  ASSERT_EQ(platform.OpenInput(0, kRing), kErrNone);

  std::uint32_t seq = 0;
  for (;; ++seq) {  // fills the ring; seq stays at the first message that found it full
    platform.ReceiveShortMessage(0xF8, 0, 0, seq);
    if (platform.InputOverflowed()) break;
  }
  std::thread producer([&, seq]() mutable {
    while (refills.load(std::memory_order_relaxed) < kMostRefills &&
           !stop.load(std::memory_order_relaxed)) {
      const std::uint32_t before = TonvikBaseInternals::writeIndex(platform);
      platform.ReceiveShortMessage(0xF8, 0, 0, seq);
      if (TonvikBaseInternals::writeIndex(platform) == before) {
        std::this_thread::yield();  // still full: the same message again
      } else {
        ++seq;
        refills.fetch_add(1, std::memory_order_release);
      }
    }
  });
  LingoValue messages = store.makeLinearList();
  platform.GetPendingMessages(&messages);
  stop.store(true, std::memory_order_relaxed);
  producer.join();

  const std::vector<std::int32_t> stamps = timestampsAndRelease(store, messages);
  EXPECT_EQ(stamps.size(), kFullRing);
  for (std::size_t i = 0; i < stamps.size(); ++i) {
    EXPECT_EQ(stamps[i], static_cast<std::int32_t>(i)) << "out of order";
  }
}

}  // namespace
