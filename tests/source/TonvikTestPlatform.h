// A platform for unit tests of TonvikBase: a settable clock, open flags without ports, sends
// recorded instead of sent, and the receive path within reach.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "TonvikBase.h"
#include "ValueStore.h"

// Friend of TonvikBase: reaches what a script cannot see.
class TonvikBaseInspector {
 public:
  static std::int32_t acquiredSymbolValueCount(const TonvikBase& base) {
    return base.acquiredSymbolValueCount_;
  }
  static std::uint8_t statusFilter(const TonvikBase& base, int byte) {
    return base.statusFilter_[byte].load();
  }
  static std::uint8_t modeFilter(const TonvikBase& base, int byte) {
    return base.modeFilter_[byte].load();
  }
  static std::uint32_t inputQueueSize(const TonvikBase& base) { return base.inputQueueSize_; }
  static const std::uint8_t* inputQueue(const TonvikBase& base) { return base.inputQueue_; }
  static std::uint32_t writeIndex(const TonvikBase& base) { return base.inputWriteIndex_.load(); }
  static std::uint32_t readIndex(const TonvikBase& base) { return base.inputReadIndex_.load(); }
  static LingoSymbol noteOnSymbol(const TonvikBase& base) { return base.noteOnSymbol_; }
  static LingoSymbol realTimeSymbol(const TonvikBase& base) { return base.realTimeSymbol_; }
  static void initSymbols(TonvikBase& base) { base.InitSymbols(); }
  static void releaseSymbols(TonvikBase& base) { base.ReleaseSymbols(); }
  // Counter moves that the table itself never makes, for the assertion reports.
  static void acquireExtraSymbolValue(TonvikBase& base) {
    LingoSymbol handle = 0;
    LingoValue value;
    base.AcquireSymbolValue("type", &handle, &value);
  }
  static void releaseExtraSymbolValue(TonvikBase& base) {
    LingoValue value;
    base.valueInterface_->MakeSymbolValue(base.typeSymbol_, &value);
    base.ReleaseSymbolValue(base.typeSymbol_, &value);
  }
};

class RecordingPlatform : public TonvikBase {
 public:
  static constexpr std::int32_t kPlatformError = 1000;
  static constexpr const char* kPlatformErrorText = "Couldn't create Core Midi client";

  struct ShortSend {
    std::uint8_t status;
    std::uint8_t data1;
    std::uint8_t data2;
    std::int32_t length;
    bool operator==(const ShortSend&) const = default;
  };
  struct SysexSend {
    std::uint8_t manufacturerId;
    std::vector<std::uint8_t> data;
    bool operator==(const SysexSend&) const = default;
  };

  explicit RecordingPlatform(director::ValueStore& store)
      : TonvikBase(store.valueInterface(), store.listInterface(), store.allocator()),
        store_(store) {}

  std::int32_t Init() override {
    ++initCalls;
    return kErrNone;
  }
  std::int32_t GetTime() override { return time; }
  void ResetTimer() override { time = 0; }
  void GetInputPorts(LingoValue*) override {}
  std::int32_t OpenInput(std::int32_t, std::int32_t bufSize) override {
    if (inputOpen_) return kErrInputAlreadyOpen;
    const std::int32_t result = AllocateInputQueue(static_cast<std::uint32_t>(bufSize));
    if (result != kErrNone) return result;
    inputOpen_ = true;
    return kErrNone;
  }
  std::int32_t CloseInput() override {
    if (!inputOpen_) return kErrInputNotOpen;
    inputOpen_ = false;
    return kErrNone;
  }
  void GetOutputPorts(LingoValue*) override {}
  std::int32_t OpenOutput(std::int32_t) override {
    if (outputOpen_) return kErrOutputAlreadyOpen;
    outputOpen_ = true;
    return kErrNone;
  }
  std::int32_t CloseOutput() override {
    if (!outputOpen_) return kErrOutputNotOpen;
    outputOpen_ = false;
    return kErrNone;
  }
  HostStatus MakeErrorResult(std::int32_t code, LingoValue* result) override {
    if (code != kPlatformError) return TonvikBase::MakeErrorResult(code, result);
    listInterface_->NewPropertyList(result);
    appendProperty(result, "code", store_.makeInteger(code));
    appendProperty(result, "text", store_.makeString(kPlatformErrorText));
    return kHostOk;
  }
  std::int32_t SendShortMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                                std::int32_t length) override {
    if (!outputOpen_) return kErrOutputNotOpen;
    shortSends.push_back({status, data1, data2, length});
    return kErrNone;
  }
  std::int32_t SendSysex(std::uint8_t manufacturerId, const LingoValue* data,
                         std::uint32_t count) override {
    SysexSend send{manufacturerId, {}};
    for (std::uint32_t i = 1; i <= count; ++i) {
      std::uint8_t byte = 0;
      const std::int32_t result =
          GetIntegerProperty(data, static_cast<std::int32_t>(i), 0, 127, &byte);
      if (result != kErrNone) return result;
      send.data.push_back(byte);
    }
    sysexSends.push_back(send);
    return kErrNone;
  }

  // The receive path, as the platform's input port drives it.
  using TonvikBase::AllocateInputQueue;
  using TonvikBase::ReceiveShortMessage;
  using TonvikBase::ReceiveSysexContinuation;
  using TonvikBase::ReceiveSysexStart;
  void receive(const std::vector<std::uint8_t>& chunk) {
    ReceiveSysexStart(chunk.data(), static_cast<std::uint32_t>(chunk.size()),
                      static_cast<std::uint32_t>(time));
  }
  void receiveMore(const std::vector<std::uint8_t>& chunk) {
    ReceiveSysexContinuation(chunk.data(), static_cast<std::uint32_t>(chunk.size()));
  }
  void receiveShort(std::uint8_t status, std::uint8_t data1 = 0, std::uint8_t data2 = 0) {
    ReceiveShortMessage(status, data1, data2, static_cast<std::uint32_t>(time));
  }
  void setInputOpen(bool open) { inputOpen_ = open; }
  void setOutputOpen(bool open) { outputOpen_ = open; }

  std::int32_t time = 0;
  int initCalls = 0;
  std::vector<ShortSend> shortSends;
  std::vector<SysexSend> sysexSends;

 private:
  void appendProperty(LingoValue* list, const char* key, LingoValue value) {
    LingoValue keyValue = store_.makeSymbol(key);
    listInterface_->AppendProperty(list, &keyValue, &value);
    store_.release(keyValue);
    store_.release(value);
  }

  director::ValueStore& store_;
};

// A store, an instance with input open on a 1024-byte ring, and the census taken after both were
// made, so that a test can check that every call gives back what it made.
class TonvikFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(platform_.OpenInput(0, 0), kErrNone);
    ASSERT_EQ(platform_.OpenOutput(0), kErrNone);
    baseline_ = store_.liveValues();
  }
  void TearDown() override {
    for (LingoValue& value : made_) store_.release(value);
    EXPECT_EQ(store_.liveValues(), baseline_) << "values leaked";
  }

  // Argument values for calls; the fixture releases them before it takes the final census.
  LingoValue sym(const char* name) { return keep(store_.makeSymbol(name)); }
  LingoValue num(std::int32_t number) { return keep(store_.makeInteger(number)); }
  LingoValue str(const char* text) { return keep(store_.makeString(text)); }
  LingoValue list(std::initializer_list<LingoValue> items) {
    LingoValue made = keep(store_.makeLinearList());
    for (const LingoValue& item : items) store_.append(made, item);
    return made;
  }
  LingoValue props(std::initializer_list<std::pair<const char*, LingoValue>> properties) {
    LingoValue made = keep(store_.makePropertyList());
    for (const auto& [key, value] : properties) {
      LingoValue keyValue = store_.makeSymbol(key);
      store_.appendProperty(made, keyValue, value);
      store_.release(keyValue);
    }
    return made;
  }

  // GetNextMessage as the dispatcher calls it, printed and released.
  std::string next() {
    LingoValue message = store_.makePropertyList();
    platform_.GetNextMessage(&message);
    std::string printed = store_.print(message);
    store_.release(message);
    return printed;
  }
  std::string pending() {
    LingoValue messages = store_.makeLinearList();
    platform_.GetPendingMessages(&messages);
    std::string printed = store_.print(messages);
    store_.release(messages);
    return printed;
  }
  std::string errorResult(std::int32_t code) {
    LingoValue result;
    platform_.MakeErrorResult(code, &result);
    std::string printed = store_.print(result);
    store_.release(result);
    return printed;
  }

  director::ValueStore store_;
  RecordingPlatform platform_{store_};
  std::size_t baseline_ = 0;

 private:
  LingoValue keep(LingoValue value) {
    made_.push_back(value);
    return value;
  }
  std::vector<LingoValue> made_;
};
