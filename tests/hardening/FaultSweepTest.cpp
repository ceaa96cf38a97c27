// Every failure point the host and the MIDI system can inject, reached through the loaded bundle
// exactly as a script reaches it. Each scenario checks the exact answer of the call that meets
// the fault, and that afterwards no value, host block, interface reference or MIDI client is
// left behind.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "MidiSystemControl.h"
#include "ValueStore.h"
#include "VirtualMidi.h"
#include "XtraLoader.h"

namespace {

using director::HostOperation;
using director::ValueStore;
using midisystem::Failure;

const std::string kOk = "[#code: 0, #text: \"No error\"]";
const std::string kNoClient = "[#code: 1000, #text: \"Couldn't create Core Midi client\"]";
const std::string kDriver = "[#code: 3, #text: \"Internal driver error\"]";
const std::string kNoMemory = "[#code: 16, #text: \"Not enough memory to complete the operation\"]";
const std::string kNotInitialised =
    "[#code: 2, #text: \"Instance not initialised - call Init() first\"]";

using Arguments = std::function<std::vector<LingoValue>(ValueStore&)>;
using Fault = std::function<void(ValueStore&)>;

std::vector<LingoValue> none(ValueStore&) {
  return {};
}
Arguments integers(std::vector<std::int32_t> numbers) {
  return [numbers](ValueStore& store) {
    std::vector<LingoValue> values;
    for (std::int32_t number : numbers) values.push_back(store.makeInteger(number));
    return values;
  };
}
// [#systemExclusive, 125, [1, 2, 3]] or [#noteOn, 1, 60, 100].
std::vector<LingoValue> sysexMessage(ValueStore& store) {
  LingoValue message = store.makeLinearList();
  LingoValue type = store.makeSymbol("systemExclusive");
  LingoValue id = store.makeInteger(125);
  LingoValue data = store.makeLinearList();
  for (std::int32_t byte : {1, 2, 3}) {
    LingoValue item = store.makeInteger(byte);
    store.append(data, item);
    store.release(item);
  }
  for (LingoValue* item : {&type, &id, &data}) {
    store.append(message, *item);
    store.release(*item);
  }
  return {message};
}
std::vector<LingoValue> noteOnMessage(ValueStore& store) {
  LingoValue message = store.makeLinearList();
  LingoValue type = store.makeSymbol("noteOn");
  store.append(message, type);
  store.release(type);
  for (std::int32_t number : {1, 60, 100}) {
    LingoValue item = store.makeInteger(number);
    store.append(message, item);
    store.release(item);
  }
  return {message};
}

Fault midi(Failure failure, int count = 1) {
  return [=](ValueStore&) { midisystem::failNext(failure, count); };
}
Fault host(HostOperation operation, int count = 1) {
  return [=](ValueStore& store) { store.failNext(operation, count); };
}
Fault allocations(int count = 1) {
  return [=](ValueStore& store) { store.failAllocations(count); };
}

// "new" creates the instance and answers its status in hexadecimal; every other step is a call
// answering its printed result (without a timestamp), and its host status when that is not 0.
// A failed value operation leaves a hole (<Void>) but never a stray value.
struct Step {
  Fault fault;
  std::string method;
  Arguments arguments;
  std::string expected;
};

struct Scenario {
  const char* name;
  std::vector<Step> steps;
  // Host blocks the instance gives up on purpose: a transfer that never completes keeps its
  // record, since the MIDI system may still read it.
  std::size_t abandonedBlocks = 0;
};

const std::vector<Step> kOpenBoth = {
    {nullptr, "new", none, "0"},
    {nullptr, "Init", none, kOk},
    {nullptr, "OpenInput", integers({1, 0}), kOk},
    {nullptr, "OpenOutput", integers({1}), kOk},
};

std::vector<Step> openBothThen(std::vector<Step> more) {
  std::vector<Step> steps = kOpenBoth;
  steps.insert(steps.end(), more.begin(), more.end());
  return steps;
}

const Scenario kScenarios[] = {
    {"ClientCreationFailsAtInit",
     {{midi(Failure::ClientCreate, 3), "new", none, "0"},
      {nullptr, "Init", none, kNoClient},
      {nullptr, "OpenInput", integers({1, 0}), kNotInitialised}}},
    {"InputPortCreationFails",
     {{midi(Failure::InputPortCreate, 2), "new", none, "0"},
      {nullptr, "Init", none, kOk},
      {nullptr, "OpenInput", integers({1, 0}), kDriver},
      {nullptr, "OpenInput", integers({1, 0}), kOk}}},
    {"OutputPortCreationFails",
     {{midi(Failure::OutputPortCreate, 2), "new", none, "0"},
      {nullptr, "Init", none, kOk},
      {nullptr, "OpenOutput", integers({1}), kDriver},
      {nullptr, "OpenOutput", integers({1}), kOk}}},
    {"ConnectionFails",
     {{nullptr, "new", none, "0"},
      {nullptr, "Init", none, kOk},
      {midi(Failure::ConnectSource), "OpenInput", integers({1, 0}), kDriver},
      {nullptr, "OpenInput", integers({1, 0}), kOk}}},
    {"SendFails", openBothThen({{midi(Failure::Send), "SendMessage", noteOnMessage, kOk}})},
    {"SysexSendFails",
     openBothThen({{midi(Failure::SendSysex), "SendMessage", sysexMessage, kDriver}})},
    {"QueueAllocationFails",
     {{nullptr, "new", none, "0"},
      {nullptr, "Init", none, kOk},
      {allocations(), "OpenInput", integers({1, 0}), kNoMemory},
      {nullptr, "OpenInput", integers({1, 0}), kOk}}},
    {"SysexRecordAllocationFails",
     openBothThen({{allocations(), "SendMessage", sysexMessage, kNoMemory},
                   {nullptr, "SendMessage", sysexMessage, kOk}})},
    {"InterfaceRecordAllocationFails", {{allocations(), "new", none, "80040002"}}},
    {"SymbolInterningFails",
     {{host(HostOperation::InternSymbol), "new", none, "0"},
      {nullptr, "Init", none, kOk},
      {nullptr, "OpenInput", integers({1, 0}), kOk}}},
    {"SysexNeverCompletes",
     openBothThen({{midi(Failure::SysexComplete), "SendMessage", sysexMessage, kOk},
                   {nullptr, "CloseOutput", none, kOk}}),
     1},
    {"IntegerReadFails",
     {{nullptr, "new", none, "0"},
      {host(HostOperation::ReadIntegerValue), "OpenInput", integers({1, 0}),
       "<Void> status 80040104"}}},
    {"ListItemReadFails",
     openBothThen({{host(HostOperation::GetListItem), "SendMessage", sysexMessage,
                    "[#code: 9, #text: \"An error occurred while unpacking the message\"]"}})},
    {"ErrorResultCannotBeMade",
     {{nullptr, "new", none, "0"}, {host(HostOperation::NewPropertyList), "Init", none, "<Void>"}}},
    {"ErrorPropertyCannotBeAppended",
     {{nullptr, "new", none, "0"},
      {host(HostOperation::AppendProperty), "Init", none, "[#text: \"No error\"]"}}},
    {"PortListCannotBeMade",
     {{nullptr, "new", none, "0"},
      {nullptr, "Init", none, kOk},
      {host(HostOperation::NewLinearList), "GetInputPorts", none, "<Void>"},
      {host(HostOperation::MakeStringValue), "GetOutputPorts", none, "[<Void>]"}}},
    {"ReceivedMessageCannotBeBuilt",
     openBothThen({{nullptr, "SendMessage", noteOnMessage, kOk},
                   {host(HostOperation::MakeIntegerValue, 2), "GetNextMessage", none,
                    "[#type: #noteOn, #channel: <Void>, #number: <Void>, #velocity: 100]"},
                   {nullptr, "MessagesPending", none, "0"}})},
};

class FaultSweepTest : public testing::TestWithParam<Scenario> {
 protected:
  void SetUp() override {
    midisystem::clearFailures();
    startClients_ = midisystem::clientCount();
    ASSERT_EQ(loader_.loadBundle(TONVIK_XTRA_PATH), std::nullopt);
    bundle_ = loader_.find("Tonvik");
    ASSERT_NE(bundle_, nullptr);
    startValues_ = store_.liveValues();
    startBlocks_ = store_.liveBlocks();
  }
  void TearDown() override {
    midisystem::clearFailures();
    store_.clearFailures();
    instance_.reset();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(store_.liveValues(), startValues_);
    EXPECT_EQ(store_.liveBlocks(), startBlocks_ + GetParam().abandonedBlocks);
    EXPECT_EQ(store_.interfaceReferences(), 0);
    EXPECT_EQ(midisystem::clientCount(), startClients_) << "a MIDI client was left open";
  }

  std::string run(const Step& step) {
    if (step.fault) step.fault(store_);
    if (step.method == "new") {
      director::NewInstanceResult made = bundle_->newInstance();
      instance_ = std::move(made.instance);
      return hex(made.status);
    }
    // Loopback traffic from earlier steps has arrived before the next step looks.
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    std::vector<LingoValue> arguments = step.arguments(store_);
    if (instance_ == nullptr) {
      for (LingoValue& argument : arguments) store_.release(argument);
      return "no instance";
    }
    director::XtraCallResult called = instance_->call(step.method, arguments);
    std::string printed = store_.print(called.result);
    store_.release(called.result);
    for (LingoValue& argument : arguments) store_.release(argument);
    if (const auto cut = printed.find(", #timestamp:"); cut != std::string::npos) {
      printed = printed.substr(0, cut) + "]";
    }
    if (called.status != kHostOk) printed += " status " + hex(called.status);
    return printed;
  }

  static std::string hex(HostStatus status) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", static_cast<unsigned>(status));
    return text;
  }

  ValueStore store_;
  director::XtraLoader loader_{store_};
  std::shared_ptr<director::XtraBundle> bundle_;
  std::unique_ptr<director::XtraInstance> instance_;
  std::size_t startValues_ = 0;
  std::size_t startBlocks_ = 0;
  int startClients_ = 0;
};

TEST_P(FaultSweepTest, AnswersExactlyAndLeavesNothingBehind) {
  for (const Step& step : GetParam().steps) {
    const std::string answer = run(step);
    EXPECT_EQ(answer, step.expected) << step.method;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryFailurePoint, FaultSweepTest, testing::ValuesIn(kScenarios),
                         [](const testing::TestParamInfo<Scenario>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace

namespace {

// Every allocation made while a bundle loads (the class records, the registration record, the
// message table's block), failed one at a time: each refuses the bundle with a reason, leaves
// nothing behind, and a retry loads it.
TEST(FaultSweepAtLoad, EveryLoadTimeAllocationFailureRefusesTheBundleCleanly) {
  constexpr int kMoreAllocationsThanALoadMakes = 16;
  std::vector<std::string> problems;
  for (int after = 0; after < kMoreAllocationsThanALoadMakes; ++after) {
    ValueStore store;
    bool reached = false;
    {
      director::XtraLoader loader(store);
      store.failAllocations(1, after);
      const std::optional<std::string> problem = loader.loadBundle(TONVIK_XTRA_PATH);
      reached = store.pendingAllocationFailures() == 0;
      if (reached) {
        ASSERT_TRUE(problem.has_value()) << "allocation " << after << " failed unnoticed";
        problems.push_back(*problem);
        EXPECT_EQ(loader.find("Tonvik"), nullptr);
        store.clearFailures();
        ASSERT_EQ(loader.loadBundle(TONVIK_XTRA_PATH), std::nullopt) << "a retry loads it";
      } else {
        EXPECT_EQ(problem, std::nullopt) << "a load with no failure succeeds";
      }
    }
    EXPECT_EQ(store.liveValues(), 0u);
    EXPECT_EQ(store.liveBlocks(), 0u);
    EXPECT_EQ(midisystem::clientCount(), 0);
    if (!reached) break;
  }
  ASSERT_EQ(problems.size(), 3u);
  EXPECT_NE(problems[0].find("DllGetClassInfo failed with status 0x80040002"), std::string::npos)
      << problems[0];
  EXPECT_NE(problems[2].find("registered no message table"), std::string::npos) << problems[2];
}

}  // namespace
