// The product bundle as the message window sees it: found beside the program, loaded with
// dlopen, registered, and driven by method name over the virtual MIDI system.
#include <gtest/gtest.h>

#include "MidiSystemControl.h"
#include "XtraLoader.h"

namespace director {
namespace {

class TonvikBundle : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(loader_.loadBundle(TONVIK_XTRA_PATH), std::nullopt);
    bundle_ = loader_.find("tonvik");
    ASSERT_NE(bundle_, nullptr);
    NewInstanceResult made = bundle_->newInstance();
    ASSERT_EQ(made.status, kHostOk);
    tonvik_ = std::move(made.instance);
    symbolValues_ = store_.liveValues();
  }

  void TearDown() override {
    tonvik_.reset();
    EXPECT_EQ(store_.liveValues(), 0u);
    EXPECT_EQ(store_.liveBlocks(), 0u);
    EXPECT_EQ(store_.interfaceReferences(), 0);
    EXPECT_EQ(midisystem::clientCount(), 0);
    if (bundle_ != nullptr) {
      EXPECT_TRUE(bundle_->canUnload());
    }
  }

  // Calls the method and answers its status and printed result, leaving nothing alive.
  std::pair<HostStatus, std::string> call(std::string_view method,
                                          const std::vector<std::int32_t>& integers = {}) {
    std::vector<LingoValue> arguments;
    for (std::int32_t number : integers) arguments.push_back(store_.makeInteger(number));
    XtraCallResult called = tonvik_->call(method, arguments);
    EXPECT_TRUE(called.methodFound) << method;
    std::string printed = store_.print(called.result);
    store_.release(called.result);
    for (LingoValue& argument : arguments) store_.release(argument);
    EXPECT_EQ(store_.liveValues(), symbolValues_) << method;
    return {called.status, printed};
  }

  ValueStore store_;
  XtraLoader loader_{store_};
  std::shared_ptr<XtraBundle> bundle_;
  std::unique_ptr<XtraInstance> tonvik_;
  std::size_t symbolValues_ = 0;
};

const std::pair<HostStatus, std::string> kNoError{kHostOk, "[#code: 0, #text: \"No error\"]"};

TEST_F(TonvikBundle, IsFoundBesideTheProgramWithItsEighteenMethods) {
  ValueStore store;
  XtraLoader beside(store);
  for (const std::string& problem : beside.loadBesideExecutable()) ADD_FAILURE() << problem;
  std::shared_ptr<XtraBundle> found = beside.find("Tonvik");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->methods().size(), 18u);
  EXPECT_EQ(found->methodNumber("new"), 0);
  EXPECT_EQ(found->methodNumber("openinput"), 5);
  EXPECT_EQ(found->methodNumber("SendMessage"), 17);
}

TEST_F(TonvikBundle, SelectorsZeroAndEighteenDoNothing) {
  for (std::int32_t selector : {0, 18}) {
    XtraCallResult called = tonvik_->call(selector);
    EXPECT_EQ(called.status, kHostOk);
    EXPECT_EQ(store_.kind(called.result), ValueKind::Void);
  }
  EXPECT_EQ(store_.liveValues(), symbolValues_);
}

TEST_F(TonvikBundle, PortZeroIsInvalidAndAStringIsNoPortNumber) {
  EXPECT_EQ(call("GetInputPorts").second, "[]");
  EXPECT_EQ(call("OpenInput", {1, 100}).second,
            "[#code: 2, #text: \"Instance not initialised - call Init() first\"]");
  EXPECT_EQ(call("Init"), kNoError);
  EXPECT_EQ(call("OpenInput", {0, 100}),
            std::make_pair(kHostOk, std::string("[#code: 15, #text: \"Invalid port number\"]")));

  LingoValue text = store_.makeString("1");
  LingoValue size = store_.makeInteger(100);
  XtraCallResult called = tonvik_->call("OpenInput", {text, size});
  EXPECT_NE(called.status, kHostOk);
  EXPECT_EQ(store_.kind(called.result), ValueKind::Void);
  called = tonvik_->call("OpenOutput", {text});
  EXPECT_NE(called.status, kHostOk);
  EXPECT_EQ(store_.kind(called.result), ValueKind::Void);
  store_.release(text);
  store_.release(size);
  EXPECT_EQ(call("CloseInput").second, "[#code: 13, #text: \"Input not open\"]");
}

TEST_F(TonvikBundle, SendsThroughTheLoopbackAndIsDestroyedWithPortsOpen) {
  EXPECT_EQ(call("Init"), kNoError);
  EXPECT_EQ(call("GetInputPorts").second, "[\"Virtual Bus\"]");
  EXPECT_EQ(call("GetOutputPorts").second, "[\"Virtual Bus\"]");
  EXPECT_EQ(call("OpenInput", {1, 100}), kNoError);
  EXPECT_EQ(call("OpenOutput", {1}), kNoError);

  LingoValue message = store_.makePropertyList();
  const std::pair<const char*, std::int32_t> properties[] = {
      {"channel", 1}, {"number", 60}, {"velocity", 100}};
  LingoValue key = store_.makeSymbol("type");
  LingoValue type = store_.makeSymbol("noteOn");
  store_.appendProperty(message, key, type);
  store_.release(key);
  store_.release(type);
  for (const auto& [name, number] : properties) {
    key = store_.makeSymbol(name);
    LingoValue value = store_.makeInteger(number);
    store_.appendProperty(message, key, value);
    store_.release(key);
    store_.release(value);
  }
  XtraCallResult sent = tonvik_->call("SendMessage", {message});
  EXPECT_EQ(store_.print(sent.result), kNoError.second);
  store_.release(sent.result);
  store_.release(message);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  EXPECT_EQ(call("MessagesPending").second, "1");
  // Input and output stay open: destruction closes both.
}

}  // namespace
}  // namespace director
