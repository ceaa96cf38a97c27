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

#include "BundleRig.h"
#include "LingoValues.h"
#include "MidiSystemControl.h"

namespace {

using director::HostOperation;
using director::ValueStore;
using midisystem::Failure;

const std::string kOk = "[#code: 0, #text: \"No error\"]";
const std::string kDriver = "[#code: 3, #text: \"Internal driver error\"]";
const std::string kUnpacking =
    "[#code: 9, #text: \"An error occurred while unpacking the message\"]";
const std::string kNoMemory = "[#code: 16, #text: \"Not enough memory to complete the operation\"]";

using Fault = std::function<void(ValueStore&)>;
Fault midi(Failure failure, int count = 1) {
  return [=](ValueStore&) { midisystem::failNext(failure, count); };
}
Fault host(HostOperation operation, int count = 1) {
  return [=](ValueStore& store) { store.failNext(operation, count); };
}
Fault allocations() {
  return [](ValueStore& store) { store.failAllocations(1); };
}

// What a step passes: nothing, a port ([1, 0] for OpenInput), or a message.
enum class Pass { Nothing, Port, Sysex, NoteOn };

// "new" creates the instance and answers its status in hexadecimal; every other step is a call
// answering its printed result (without a timestamp), and its host status when that is not 0.
// A failed value operation leaves a hole (<Void>) but never a stray value.
struct Step {
  Fault fault;
  std::string method;
  std::string expected;
  Pass pass = Pass::Nothing;
};

struct Scenario {
  const char* name;
  std::vector<Step> steps;
  // Host blocks the instance gives up on purpose: a transfer that never completes keeps its
  // record, since the MIDI system may still read it.
  std::size_t abandonedBlocks = 0;
};

std::vector<Step> openBothThen(std::vector<Step> more) {
  std::vector<Step> steps = {{nullptr, "new", "0"},
                             {nullptr, "Init", kOk},
                             {nullptr, "OpenInput", kOk, Pass::Port},
                             {nullptr, "OpenOutput", kOk, Pass::Port}};
  steps.insert(steps.end(), more.begin(), more.end());
  return steps;
}

const Scenario kScenarios[] = {
    {"ClientCreationFailsAtInit",
     {{midi(Failure::ClientCreate, 3), "new", "0"},
      {nullptr, "Init", "[#code: 1000, #text: \"Couldn't create Core Midi client\"]"},
      {nullptr, "OpenInput", "[#code: 2, #text: \"Instance not initialised - call Init() first\"]",
       Pass::Port}}},
    {"InputPortCreationFails",
     {{midi(Failure::InputPortCreate, 2), "new", "0"},
      {nullptr, "Init", kOk},
      {nullptr, "OpenInput", kDriver, Pass::Port},
      {nullptr, "OpenInput", kOk, Pass::Port}}},
    {"OutputPortCreationFails",
     {{midi(Failure::OutputPortCreate, 2), "new", "0"},
      {nullptr, "Init", kOk},
      {nullptr, "OpenOutput", kDriver, Pass::Port},
      {nullptr, "OpenOutput", kOk, Pass::Port}}},
    // The queue is allocated before the connection is made, and kept when that fails.
    {"QueueAllocationThenConnectionFails",
     {{nullptr, "new", "0"},
      {nullptr, "Init", kOk},
      {allocations(), "OpenInput", kNoMemory, Pass::Port},
      {midi(Failure::ConnectSource), "OpenInput", kDriver, Pass::Port},
      {nullptr, "OpenInput", kOk, Pass::Port}}},
    // A failed short send is silent, but nothing more goes out until the output is reopened.
    {"SendsFail",
     openBothThen({{midi(Failure::SendSysex), "SendMessage", kDriver, Pass::Sysex},
                   {allocations(), "SendMessage", kNoMemory, Pass::Sysex},
                   {host(HostOperation::GetListItem), "SendMessage", kUnpacking, Pass::Sysex},
                   {nullptr, "SendMessage", kOk, Pass::Sysex},
                   {midi(Failure::Send), "SendMessage", kOk, Pass::NoteOn},
                   {nullptr, "SendMessage", kDriver, Pass::Sysex}})},
    {"InterfaceRecordAllocationFails", {{allocations(), "new", "80040002"}}},
    {"SymbolInterningFails",
     {{host(HostOperation::InternSymbol), "new", "0"},
      {nullptr, "Init", kOk},
      {nullptr, "OpenInput", kOk, Pass::Port}}},
    {"SysexNeverCompletes",
     openBothThen({{midi(Failure::SysexComplete), "SendMessage", kOk, Pass::Sysex},
                   {nullptr, "CloseOutput", kOk}}),
     1},
    // A failed read of an argument, and results and port lists that cannot be made, answer what
    // there is.
    {"ArgumentsAndResultsCannotBeMade",
     {{nullptr, "new", "0"},
      {host(HostOperation::ReadIntegerValue), "OpenInput", "<Void> status 80040104", Pass::Port},
      {host(HostOperation::NewPropertyList), "Init", "<Void>"},
      {host(HostOperation::AppendProperty), "Init", "[#text: \"No error\"]"},
      {host(HostOperation::NewLinearList), "GetInputPorts", "<Void>"},
      {host(HostOperation::MakeStringValue), "GetOutputPorts", "[<Void>]"}}},
    {"ReceivedMessageCannotBeBuilt",
     openBothThen({{nullptr, "SendMessage", kOk, Pass::NoteOn},
                   {host(HostOperation::MakeIntegerValue, 2), "GetNextMessage",
                    "[#type: #noteOn, #channel: <Void>, #number: <Void>, #velocity: 100]"},
                   {nullptr, "MessagesPending", "0"}})},
};

class FaultSweepTest : public testing::TestWithParam<Scenario> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(rig_.loaded());
    startValues_ = rig_.store.liveValues();
    startBlocks_ = rig_.store.liveBlocks();
  }
  void TearDown() override {
    midisystem::clearFailures();
    rig_.store.clearFailures();
    rig_.instance.reset();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(rig_.store.liveValues(), startValues_);
    EXPECT_EQ(rig_.store.liveBlocks(), startBlocks_ + GetParam().abandonedBlocks);
    EXPECT_EQ(rig_.store.interfaceReferences(), 0);
    EXPECT_EQ(midisystem::clientCount(), 0) << "a MIDI client was left open";
  }

  std::string run(const Step& step) {
    // Arguments are made before the fault, so that it meets the call and nothing else.
    LingoValues values(rig_.store);
    std::vector<LingoValue> arguments;
    if (step.pass == Pass::Port) arguments = {values.num(1), values.num(0)};
    if (step.pass == Pass::Port && step.method == "OpenOutput") arguments.pop_back();
    if (step.pass == Pass::Sysex) arguments = {values.sysex(125, {1, 2, 3})};
    if (step.pass == Pass::NoteOn) arguments = {values.message("noteOn", {1, 60, 100})};
    for (LingoValue& argument : arguments) argument = rig_.store.retain(argument);
    if (step.fault) step.fault(rig_.store);
    if (step.method == "new") return rig_.create();
    // Loopback traffic from earlier steps has arrived before the next step looks.
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    return rig_.call(step.method, arguments);
  }

  BundleRig rig_{TONVIK_XTRA_PATH};
  std::size_t startValues_ = 0;
  std::size_t startBlocks_ = 0;
};

TEST_P(FaultSweepTest, AnswersExactlyAndLeavesNothingBehind) {
  for (const Step& step : GetParam().steps) EXPECT_EQ(run(step), step.expected) << step.method;
}

INSTANTIATE_TEST_SUITE_P(EveryFailurePoint, FaultSweepTest, testing::ValuesIn(kScenarios),
                         [](const testing::TestParamInfo<Scenario>& info) {
                           return std::string(info.param.name);
                         });

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
