#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <initializer_list>
#include <thread>
#include <vector>

#include "HostTime.h"
#include "MidiServices.h"
#include "MidiSystemControl.h"
#include "VirtualMidi.h"

namespace {

// A one-packet list on the stack.
struct OnePacket {
  alignas(8) Byte storage[sizeof(MIDIPacketList) + 64] = {};
  MIDIPacketList* list() { return reinterpret_cast<MIDIPacketList*>(storage); }

  OnePacket(MIDITimeStamp time, std::initializer_list<Byte> bytes) {
    const std::vector<Byte> data(bytes);
    MIDIPacket* packet = MIDIPacketListInit(list());
    MIDIPacketListAdd(list(), sizeof storage, packet, time, data.size(), data.data());
  }
};

TEST(PacketListTest, PacketsArePackedBehindTheLastDataByteWhileTheyFit) {
  alignas(8) Byte storage[128];
  auto* list = reinterpret_cast<MIDIPacketList*>(storage);
  MIDIPacket* packet = MIDIPacketListInit(list);
  const Byte noteOn[] = {0x90, 0x3C, 0x64};
  const Byte clock[] = {0xF8};
  packet = MIDIPacketListAdd(list, sizeof storage, packet, 0, sizeof noteOn, noteOn);
  ASSERT_NE(packet, nullptr);
  MIDIPacket* second = MIDIPacketListAdd(list, sizeof storage, packet, 7, sizeof clock, clock);
  ASSERT_NE(second, nullptr);

  EXPECT_EQ(list->numPackets, 2u);
  // numPackets, then timeStamp(8) length(2) data(3), then the next packet at once.
  EXPECT_EQ(reinterpret_cast<Byte*>(second) - storage, 4 + 8 + 2 + 3);
  EXPECT_EQ(MIDIPacketNext(&list->packet[0]), second);
  // Copies: packed fields may sit at any address, so no reference may bind to them.
  const MIDITimeStamp time = second->timeStamp;
  const UInt16 length = second->length;
  EXPECT_EQ(time, 7u);
  EXPECT_EQ(length, 1);
  EXPECT_EQ(second->data[0], 0xF8);

  // A packet that would pass the list's size is refused: 28 bytes used, room for 13 more.
  const std::size_t listSize = 28 + 10 + 3;
  const Byte four[] = {0x90, 0x3C, 0x64, 0x00};
  EXPECT_EQ(MIDIPacketListAdd(list, listSize, second, 9, 4, four), nullptr);
  EXPECT_EQ(list->numPackets, 2u);
  EXPECT_NE(MIDIPacketListAdd(list, listSize, second, 9, 3, four), nullptr);
  EXPECT_EQ(list->numPackets, 3u);
}

// Packets the read procedure was handed, counted on the receive thread and read once deliveries
// are done. What it is handed until disconnection is what xtra_packets.ls shows.
void countPackets(const MIDIPacketList* list, void* refCon, void*) {
  static_cast<std::atomic<std::size_t>*>(refCon)->fetch_add(list->numPackets);
}

class ReceiveAndSendTest : public ::testing::Test {
 protected:
  void SetUp() override {
    virtualmidi::replaceSetup(virtualmidi::defaultSetup());
    ASSERT_EQ(MIDIClientCreate(nullptr, nullptr, nullptr, &client_), noErr);
    ASSERT_EQ(MIDIInputPortCreate(client_, nullptr, &countPackets, &received_, &input_), noErr);
    ASSERT_EQ(MIDIOutputPortCreate(client_, nullptr, &output_), noErr);
    source_ = virtualmidi::findSource(virtualmidi::kDefaultDeviceName);
    destination_ = virtualmidi::findDestination(virtualmidi::kDefaultDeviceName);
  }
  void TearDown() override {
    midisystem::limitSysexChunks(-1);
    midisystem::clearFailures();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(MIDIClientDispose(client_), noErr);
    virtualmidi::takeCaptured(destination_);
  }

  std::atomic<std::size_t> received_{0};
  MIDIClientRef client_ = 0;
  MIDIPortRef input_ = 0;
  MIDIPortRef output_ = 0;
  MIDIEndpointRef source_ = 0;
  MIDIEndpointRef destination_ = 0;
};

TEST_F(ReceiveAndSendTest, LaterTimeStampIsDeliveredAtThatHostTime) {
  const UInt64 delay = AudioConvertNanosToHostTime(20000000);  // 20 ms
  const MIDITimeStamp due = AudioGetCurrentHostTime() + delay;
  OnePacket later(due, {0xB0, 0x07, 0x40});
  ASSERT_EQ(MIDISend(output_, destination_, later.list()), noErr);
  const auto captured = virtualmidi::takeCaptured(destination_);
  ASSERT_EQ(captured.size(), 1u);
  EXPECT_GE(captured[0].timeStamp, due);
}

TEST_F(ReceiveAndSendTest, SendChecksItsPortAndDestination) {
  OnePacket packet(0, {0xF8});
  EXPECT_EQ(MIDISend(input_, destination_, packet.list()), kMIDIInvalidPort);
  EXPECT_EQ(MIDISend(output_, source_, packet.list()), kMIDIUnknownEndpoint);
  EXPECT_EQ(MIDISend(output_, destination_, nullptr), paramErr);
  EXPECT_EQ(MIDIPortConnectSource(output_, source_, nullptr), kMIDIInvalidPort);
  EXPECT_EQ(MIDIPortConnectSource(input_, destination_, nullptr), kMIDIUnknownEndpoint);
}

// A read procedure that blocks until released, to catch one in flight.
struct Blocking {
  std::promise<void> entered;
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  std::atomic<bool> finished{false};

  static void readProc(const MIDIPacketList*, void* refCon, void*) {
    auto* self = static_cast<Blocking*>(refCon);
    self->entered.set_value();
    self->released.wait();
    self->finished.store(true, std::memory_order_release);
  }
};

TEST(WaitForReadProc, EveryTeardownReturnsOnlyAfterTheReadProcedureInFlightHasFinished) {
  enum Teardown { Disconnect, DisposePort, DisposeClient };
  for (const Teardown way : {Disconnect, DisposePort, DisposeClient}) {
    virtualmidi::replaceSetup(virtualmidi::defaultSetup());
    const MIDIEndpointRef source = virtualmidi::findSource(virtualmidi::kDefaultDeviceName);
    MIDIClientRef client = 0;
    MIDIPortRef port = 0;
    Blocking blocking;
    ASSERT_EQ(MIDIClientCreate(nullptr, nullptr, nullptr, &client), noErr);
    ASSERT_EQ(MIDIInputPortCreate(client, nullptr, &Blocking::readProc, &blocking, &port), noErr);
    ASSERT_EQ(MIDIPortConnectSource(port, source, nullptr), noErr);

    std::thread injector([source] { virtualmidi::inject(source, {{0xF8}}); });
    blocking.entered.get_future().wait();
    bool finishedWhenReturned = false;
    std::thread closer([&] {
      if (way == Disconnect) MIDIPortDisconnectSource(port, source);
      if (way == DisposePort) MIDIPortDispose(port);
      if (way == DisposeClient) MIDIClientDispose(client);
      finishedWhenReturned = blocking.finished.load(std::memory_order_acquire);
    });
    // Time for the teardown to begin while the procedure is held.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    blocking.release.set_value();
    closer.join();
    injector.join();
    EXPECT_TRUE(finishedWhenReturned) << way;
    EXPECT_EQ(MIDIClientDispose(client), way == DisposeClient ? kMIDIInvalidClient : noErr) << way;
  }
}

// Counts completions; set on the system-exclusive thread, read after waitUntilDelivered.
struct Completion {
  std::atomic<int> calls{0};
  std::atomic<bool> onCallerThread{false};
  std::thread::id caller = std::this_thread::get_id();

  static void proc(MIDISysexSendRequest* request) {
    auto* self = static_cast<Completion*>(request->completionRefCon);
    if (std::this_thread::get_id() == self->caller) self->onCallerThread = true;
    self->calls.fetch_add(1);
  }
};

MIDISysexSendRequest requestFor(MIDIEndpointRef destination, const std::vector<Byte>& bytes,
                                Completion& completion) {
  return MIDISysexSendRequest{destination, bytes.data(), static_cast<UInt32>(bytes.size()),
                              false,       {},           &Completion::proc,
                              &completion};
}

std::vector<Byte> sysexOf(std::size_t size) {
  std::vector<Byte> bytes(size, 0x55);
  bytes.front() = 0xF0;
  bytes.back() = 0xF7;
  return bytes;
}

// Pieces of at most 256 bytes, never a last piece that holds the closing F7 alone, each its own
// packet at the other end of the loopback; the request completes once, off the caller's thread.
TEST_F(ReceiveAndSendTest, SysexGoesOutInPiecesThatNeverLeaveTheClosingByteAlone) {
  const struct {
    std::size_t size;
    std::vector<std::size_t> chunks;
  } cases[] = {
      {0, {}},         {4, {4}},          {256, {256}},         {257, {255, 2}},
      {258, {256, 2}}, {512, {256, 256}}, {513, {256, 255, 2}}, {1025, {256, 256, 256, 255, 2}},
  };
  ASSERT_EQ(MIDIPortConnectSource(input_, source_, nullptr), noErr);
  for (const auto& c : cases) {
    const std::vector<Byte> bytes = c.size ? sysexOf(c.size) : std::vector<Byte>{};
    Completion completion;
    MIDISysexSendRequest request = requestFor(destination_, bytes, completion);
    ASSERT_EQ(MIDISendSysex(&request), noErr);
    ASSERT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(completion.calls.load(), 1) << c.size;
    EXPECT_FALSE(completion.onCallerThread.load()) << c.size;
    EXPECT_EQ(request.bytesToSend, 0u) << c.size;
    EXPECT_EQ(request.data, bytes.data() + bytes.size()) << c.size;
    EXPECT_TRUE(request.complete) << c.size;
    std::vector<std::size_t> chunks;
    std::vector<Byte> joined;
    for (const auto& captured : virtualmidi::takeCaptured(destination_)) {
      chunks.push_back(captured.bytes.size());
      joined.insert(joined.end(), captured.bytes.begin(), captured.bytes.end());
    }
    EXPECT_EQ(chunks, c.chunks) << c.size;
    EXPECT_EQ(joined, bytes) << c.size;
    EXPECT_EQ(received_.exchange(0), c.chunks.size()) << c.size;
  }
}

TEST_F(ReceiveAndSendTest, SysexStopsEarlyWhenTheSenderSetsComplete) {
  const std::vector<Byte> bytes = sysexOf(1000);
  Completion completion;
  MIDISysexSendRequest request = requestFor(destination_, bytes, completion);
  const std::uint64_t chunksBefore = midisystem::sysexChunksSent();
  midisystem::limitSysexChunks(1);
  ASSERT_EQ(MIDISendSysex(&request), noErr);
  // Generous: only a broken system waits this long.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (midisystem::sysexChunksSent() == chunksBefore) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the first chunk never went out";
    std::this_thread::yield();
  }
  std::atomic_ref<Boolean>(request.complete).store(true, std::memory_order_release);
  midisystem::limitSysexChunks(-1);
  ASSERT_TRUE(midisystem::waitUntilDelivered());

  EXPECT_EQ(completion.calls.load(), 1);
  EXPECT_EQ(request.bytesToSend, 1000 - midisystem::kSysexChunkSize);
  EXPECT_EQ(virtualmidi::takeCaptured(destination_).size(), 1u);
}

}  // namespace
