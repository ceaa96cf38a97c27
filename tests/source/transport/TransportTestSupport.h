// Shared set-up of the transport tests: the process's one MIDI system back in its default setup
// (device "Virtual Bus" with one loopback entity), and proof that a test left no client
// reference, Lingo value or host block behind.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MacOsxTonvik.h"
#include "MidiSystemControl.h"
#include "OSXMidiUtils.h"
#include "ValueStore.h"
#include "VirtualMidi.h"

class TransportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    midisystem::clearFailures();
    replaceSetup(virtualmidi::defaultSetup());
  }
  void TearDown() override {
    midisystem::clearFailures();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(midisystem::clientCount(), 0) << "a client reference was not given back";
  }

  // The directory rebuilds only after a notification, and only a live client receives one.
  static void changeDevices(const std::function<void()>& change) {
    const MIDIClientRef client = fwAcquireMidiClient();
    change();
    midisystem::runRunLoop(0);
    fwReleaseMidiClient(client);
  }
  static void replaceSetup(const virtualmidi::Setup& setup) {
    changeDevices([&] { virtualmidi::replaceSetup(setup); });
  }
  static void unplug() {
    changeDevices([] { virtualmidi::removeDevice(virtualmidi::kDefaultDeviceName); });
  }
  static bool inject(const std::vector<virtualmidi::Packet>& packets) {
    return virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, packets);
  }
};

// Forwards to the store's allocator and remembers what is outstanding, so that a block the
// instance drops on purpose can still be given back when the test ends.
class TrackingAllocator final : public HostAllocator {
 public:
  explicit TrackingAllocator(HostAllocator* host) : host_(host) {}
  HostStatus QueryInterface(const HostInterfaceId*, void**) override { return kHostErrNoInterface; }
  std::uint32_t AddRef() override { return 1; }
  std::uint32_t Release() override { return 1; }
  void* AllocateBlock(std::uint32_t size) override {
    void* block = host_->AllocateBlock(size);
    if (block != nullptr) outstanding.push_back(block);
    return block;
  }
  void FreeBlock(void* block) override {
    std::erase(outstanding, block);
    host_->FreeBlock(block);
  }

  std::vector<void*> outstanding;

 private:
  HostAllocator* host_;
};

class InstanceTest : public TransportTest {
 protected:
  void SetUp() override {
    TransportTest::SetUp();
    instance = makeInstance();
    symbolValues_ = store.liveValues();
  }
  void TearDown() override {
    instance.reset();
    EXPECT_EQ(store.liveValues(), 0u);
    EXPECT_EQ(allocator.outstanding.size(), droppedBlocks);
    TransportTest::TearDown();
    while (!allocator.outstanding.empty()) allocator.FreeBlock(allocator.outstanding.back());
  }

  std::unique_ptr<MacOsxTonvik> makeInstance() {
    return std::make_unique<MacOsxTonvik>(store.valueInterface(), store.listInterface(),
                                          &allocator);
  }
  // Every call must leave exactly the values the instance holds itself: its symbols.
  void expectNoValueLeft() const { EXPECT_EQ(store.liveValues(), symbolValues_); }

  void openLoopback(std::int32_t queueSize = 0) {
    ASSERT_EQ(instance->Init(), 0);
    ASSERT_EQ(instance->OpenInput(0, queueSize), 0);
    ASSERT_EQ(instance->OpenOutput(0), 0);
  }

  // [#type, values...]: SendMessage reads a message by position.
  LingoValue message(const char* type, const std::vector<std::int32_t>& values = {}) {
    LingoValue list = store.makeLinearList();
    LingoValue symbol = store.makeSymbol(type);
    store.append(list, symbol);
    store.release(symbol);
    appendIntegers(list, values);
    return list;
  }
  LingoValue sysexMessage(std::int32_t manufacturer, const std::vector<std::int32_t>& data) {
    LingoValue list = message("systemExclusive", {manufacturer});
    LingoValue bytes = store.makeLinearList();
    appendIntegers(bytes, data);
    store.append(list, bytes);
    store.release(bytes);
    return list;
  }
  void appendIntegers(LingoValue list, const std::vector<std::int32_t>& values) {
    for (std::int32_t value : values) {
      LingoValue item = store.makeInteger(value);
      store.append(list, item);
      store.release(item);
    }
  }
  std::int32_t send(LingoValue message) {
    const std::int32_t code = instance->SendMessage(&message);
    store.release(message);
    return code;
  }

  // The next received message as the message window prints it, without its timestamp.
  std::string next(std::int32_t* timestamp = nullptr) {
    LingoValue received = store.makePropertyList();
    instance->GetNextMessage(&received);
    const std::int32_t count = store.count(received);
    if (timestamp != nullptr && count > 0) {
      LingoValue last = store.itemAt(received, count);
      *timestamp = store.integer(last);
      store.release(last);
    }
    std::string printed = store.print(received);
    store.release(received);
    const auto cut = printed.find(", #timestamp:");
    return cut == std::string::npos ? printed : printed.substr(0, cut) + "]";
  }

  director::ValueStore store;
  TrackingAllocator allocator{store.allocator()};
  std::unique_ptr<MacOsxTonvik> instance;
  // Host blocks that a test lets the instance drop on purpose.
  std::size_t droppedBlocks = 0;

 private:
  std::size_t symbolValues_ = 0;
};
