// An instance over a real value store, so that every test can prove that a call left no Lingo
// value and no host block behind.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MacOsxTonvik.h"
#include "TransportTestSupport.h"
#include "ValueStore.h"

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
  void freeOutstanding() {
    while (!outstanding.empty()) FreeBlock(outstanding.back());
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
    heldValues_ = store.liveValues();
  }

  void TearDown() override {
    instance.reset();
    EXPECT_EQ(store.liveValues(), 0u);
    EXPECT_EQ(allocator.outstanding.size(), droppedBlocks);
    TransportTest::TearDown();
    allocator.freeOutstanding();
  }

  std::unique_ptr<MacOsxTonvik> makeInstance() {
    return std::make_unique<MacOsxTonvik>(store.valueInterface(), store.listInterface(),
                                          &allocator);
  }

  // The values the instance holds itself (its symbols): every call must leave exactly these.
  void expectNoValueLeft() const { EXPECT_EQ(store.liveValues(), heldValues_); }

  void openLoopback(std::int32_t queueSize = 0) {
    ASSERT_EQ(instance->Init(), 0);
    ASSERT_EQ(instance->OpenInput(0, queueSize), 0);
    ASSERT_EQ(instance->OpenOutput(0), 0);
  }

  // [#type, values...] read by position, as SendMessage reads a message.
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

  // The next received message as the message window prints it, its timestamp cut off.
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

  std::string errorResult(std::int32_t code) {
    LingoValue result;
    instance->MakeErrorResult(code, &result);
    std::string printed = store.print(result);
    store.release(result);
    return printed;
  }

  std::vector<std::string> ports(bool inputs) {
    LingoValue list = store.makeLinearList();
    if (inputs) {
      instance->GetInputPorts(&list);
    } else {
      instance->GetOutputPorts(&list);
    }
    std::vector<std::string> names;
    for (std::int32_t i = 1; i <= store.count(list); ++i) {
      LingoValue name = store.itemAt(list, i);
      names.push_back(store.string(name));
      store.release(name);
    }
    store.release(list);
    return names;
  }

  director::ValueStore store;
  TrackingAllocator allocator{store.allocator()};
  std::unique_ptr<MacOsxTonvik> instance;
  // Host blocks a test lets the instance drop on purpose.
  std::size_t droppedBlocks = 0;

 private:
  std::size_t heldValues_ = 0;
};
