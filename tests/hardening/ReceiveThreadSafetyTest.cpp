// The MIDI receive thread and the system-exclusive completion thread must never stall: the
// Xtra's procedures on them allocate nothing and take no lock, counted call by call.
#include <dlfcn.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <vector>

#include "MidiServices.h"
#include "RealtimeProbe.h"
#include "TransportTestSupport.h"

namespace {

// The read procedure of every input port and the completion procedure of every system-exclusive
// send run in a watched section: this binary stands in front of the MIDI system's
// MIDIInputPortCreate and MIDISendSysex, so what a procedure does is counted, and nothing the
// system does around it.
template <typename Function>
Function* nextDefinition(Function*, const char* name) {
  auto* function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
  if (function == nullptr) std::abort();
  return function;
}

// The Xtra hands the same procedures to every port and request, so one slot each suffices.
std::atomic<MIDIReadProc> readProc{nullptr};
std::atomic<MIDICompletionProc> completionProc{nullptr};

void watchedRead(const MIDIPacketList* packets, void* readRefCon, void* connectionRefCon) {
  realtime::WatchedSection section;
  readProc.load(std::memory_order_relaxed)(packets, readRefCon, connectionRefCon);
}

void watchedCompletion(MIDISysexSendRequest* request) {
  realtime::WatchedSection section;
  completionProc.load(std::memory_order_relaxed)(request);
}

}  // namespace

extern "C" OSStatus MIDIInputPortCreate(MIDIClientRef client, CFStringRef portName,
                                        MIDIReadProc proc, void* refCon, MIDIPortRef* outPort) {
  static const auto next = nextDefinition(&MIDIInputPortCreate, "MIDIInputPortCreate");
  readProc.store(proc, std::memory_order_relaxed);
  return next(client, portName, watchedRead, refCon, outPort);
}

extern "C" OSStatus MIDISendSysex(MIDISysexSendRequest* request) {
  static const auto next = nextDefinition(&MIDISendSysex, "MIDISendSysex");
  if (request != nullptr && request->completionProc != nullptr) {
    completionProc.store(request->completionProc, std::memory_order_relaxed);
    request->completionProc = watchedCompletion;
  }
  return next(request);
}

namespace {

constexpr int kShortMessages = 100000;
constexpr int kShortPerPacketList = 100;
constexpr int kSysexMessages = 250;
constexpr int kChunksPerSysex = 4;
constexpr int kChunkDataBytes = 32;
constexpr int kSysexSends = 200;
// Room for every message at once, so the queue never refuses one.
constexpr std::int32_t kQueueBytes = 4 << 20;

class ReceiveThreadSafetyTest : public InstanceTest {
 protected:
  void SetUp() override {
    if (!realtime::kProbeAvailable) {
      GTEST_SKIP() << "the sanitizer runtime owns malloc and the mutexes; counted in the plain "
                      "build only";
    }
    InstanceTest::SetUp();
    openLoopback(kQueueBytes);
    using namespace realtime;
    for (auto* counter : {&sections, &allocations, &frees, &mutexLocks}) counter->store(0);
  }
};

// A zero count means something only if the probe sees what it is meant to see.
TEST_F(ReceiveThreadSafetyTest, ProbeSeesAllocationsAndLocksInAWatchedSection) {
  std::mutex mutex;
  {
    realtime::WatchedSection section;
    auto block = std::make_unique<std::vector<int>>(16);
    std::lock_guard<std::mutex> lock(mutex);
  }
  EXPECT_EQ(realtime::sections.load(), 1u);
  EXPECT_GE(realtime::allocations.load(), 2u);
  EXPECT_GE(realtime::frees.load(), 2u);
  EXPECT_EQ(realtime::mutexLocks.load(), 1u);
}

TEST_F(ReceiveThreadSafetyTest, ReadAndCompletionProceduresNeitherAllocateNorLock) {
  std::vector<virtualmidi::Packet> shortMessages;
  for (int i = 0; i < kShortPerPacketList; ++i) {
    shortMessages.push_back(
        {static_cast<std::uint8_t>(0x90 | i % 16), static_cast<std::uint8_t>(i % 128), 100});
  }
  int lists = 0;
  for (int sent = 0; sent < kShortMessages; sent += kShortPerPacketList, ++lists) {
    ASSERT_TRUE(inject(shortMessages));
  }
  // Each message arrives as four packets: the start, two continuations and the end.
  for (int message = 0; message < kSysexMessages; ++message) {
    for (int part = 0; part < kChunksPerSysex; ++part, ++lists) {
      virtualmidi::Packet packet(kChunkDataBytes, static_cast<std::uint8_t>(part));
      if (part == 0) packet.front() = 0xF0;
      if (part == kChunksPerSysex - 1) packet.back() = 0xF7;
      ASSERT_TRUE(inject({packet}));
    }
  }
  for (int i = 0; i < kSysexSends; ++i) {
    ASSERT_EQ(instance->SendSysex(0x7D, nullptr, 0), 0);
    ASSERT_TRUE(midisystem::waitUntilDelivered());
  }
  // The looped-back messages pass the read procedure as well; both kinds are watched.
  EXPECT_GE(realtime::sections.load(), lists + 2u * kSysexSends)
      << "the watched procedure did not run";
  EXPECT_EQ(realtime::allocations.load(), 0u);
  EXPECT_EQ(realtime::frees.load(), 0u);
  EXPECT_EQ(realtime::mutexLocks.load(), 0u);
  // Then every message sent arrives and the census balances.
  EXPECT_FALSE(instance->InputOverflowed());
  LingoValue pending = store.makeLinearList();
  instance->GetPendingMessages(&pending);
  EXPECT_EQ(store.count(pending), kShortMessages + kSysexMessages + kSysexSends);
  store.release(pending);
  expectNoValueLeft();
}

}  // namespace
