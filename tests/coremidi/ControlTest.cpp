#include <gtest/gtest.h>

#include <vector>

#include "MidiServices.h"
#include "MidiSystemControl.h"
#include "TestSupport.h"
#include "VirtualMidi.h"

namespace {

using midisystem::Failure;

void noRead(const MIDIPacketList*, void*, void*) {}
void noCompletion(MIDISysexSendRequest*) {}

struct FailureCase {
  Failure failure;
  const char* name;
};

class InjectedFailureTest : public ::testing::TestWithParam<FailureCase> {
 protected:
  void SetUp() override {
    virtualmidi::replaceSetup(virtualmidi::defaultSetup());
    ASSERT_EQ(MIDIClientCreate(nullptr, nullptr, nullptr, &client_), noErr);
    ASSERT_EQ(MIDIInputPortCreate(client_, nullptr, &noRead, nullptr, &input_), noErr);
    ASSERT_EQ(MIDIOutputPortCreate(client_, nullptr, &output_), noErr);
    source_ = MIDIGetSource(0);
    destination_ = MIDIGetDestination(0);
  }
  void TearDown() override {
    midisystem::clearFailures();
    EXPECT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_EQ(MIDIClientDispose(client_), noErr);
    virtualmidi::takeCaptured(destination_);
  }

  // The status of one call of the kind that the case makes fail.
  OSStatus call(Failure failure) {
    static const Byte sysex[] = {0xF0, 0x7D, 0xF7};
    request_ = {destination_, sysex, sizeof sysex, false, {}, &noCompletion, nullptr};
    switch (failure) {
      case Failure::ClientCreate: {
        MIDIClientRef client = 0;
        const OSStatus status = MIDIClientCreate(nullptr, nullptr, nullptr, &client);
        if (status == noErr) MIDIClientDispose(client);
        return status;
      }
      case Failure::InputPortCreate: {
        MIDIPortRef port = 0;
        return MIDIInputPortCreate(client_, nullptr, &noRead, nullptr, &port);
      }
      case Failure::OutputPortCreate: {
        MIDIPortRef port = 0;
        return MIDIOutputPortCreate(client_, nullptr, &port);
      }
      case Failure::ConnectSource:
        return MIDIPortConnectSource(input_, source_, nullptr);
      case Failure::Send: {
        coremiditest::OnePacket packet(0, {0xF8});
        return MIDISend(output_, destination_, packet.list());
      }
      case Failure::SendSysex:
      case Failure::SysexComplete:
        return MIDISendSysex(&request_);
    }
    return noErr;
  }

  MIDIClientRef client_ = 0;
  MIDIPortRef input_ = 0;
  MIDIPortRef output_ = 0;
  MIDIEndpointRef source_ = 0;
  MIDIEndpointRef destination_ = 0;
  MIDISysexSendRequest request_{};
};

TEST_P(InjectedFailureTest, FailsTheNextCallsOnlyAndIsNamed) {
  const FailureCase& c = GetParam();
  Failure named{};
  ASSERT_TRUE(midisystem::failureFromName(c.name, named));
  EXPECT_EQ(named, c.failure);
  midisystem::failNext(c.failure, 2);
  if (c.failure == Failure::SysexComplete) {
    // Accepted, but never sent nor completed; the wait for deliveries does not hang on it.
    EXPECT_EQ(call(c.failure), noErr);
    ASSERT_TRUE(midisystem::waitUntilDelivered());
    EXPECT_TRUE(virtualmidi::takeCaptured(destination_).empty());
    EXPECT_FALSE(request_.complete);
    midisystem::clearFailures();
    return;
  }
  EXPECT_NE(call(c.failure), noErr);
  EXPECT_NE(call(c.failure), noErr);
  EXPECT_EQ(call(c.failure), noErr);
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, InjectedFailureTest,
    ::testing::Values(FailureCase{Failure::ClientCreate, "clientCreate"},
                      FailureCase{Failure::InputPortCreate, "inputPortCreate"},
                      FailureCase{Failure::OutputPortCreate, "outputPortCreate"},
                      FailureCase{Failure::ConnectSource, "connectSource"},
                      FailureCase{Failure::Send, "send"},
                      FailureCase{Failure::SendSysex, "sendSysex"},
                      FailureCase{Failure::SysexComplete, "sysexComplete"}),
    [](const ::testing::TestParamInfo<FailureCase>& info) { return std::string(info.param.name); });

TEST(ControlTest, UnknownFailureNameIsRefused) {
  Failure failure{};
  EXPECT_FALSE(midisystem::failureFromName("reboot", failure));
}

TEST(ControlTest, CallsAreCountedPerFunctionUntilReset) {
  midisystem::resetCallCounts();
  EXPECT_EQ(midisystem::totalCallCount(), 0u);
  MIDIGetNumberOfSources();
  MIDIGetNumberOfSources();
  MIDIGetSource(0);
  EXPECT_EQ(midisystem::callCount("MIDIGetNumberOfSources"), 2u);
  EXPECT_EQ(midisystem::callCount("MIDIGetSource"), 1u);
  EXPECT_EQ(midisystem::totalCallCount(), 3u);
  const auto counts = midisystem::callCounts();
  EXPECT_EQ(counts.size(), 2u);
  midisystem::resetCallCounts();
  EXPECT_EQ(midisystem::callCount("MIDIGetNumberOfSources"), 0u);
}

TEST(ControlTest, ClientCountFollowsCreationAndDisposal) {
  const int before = midisystem::clientCount();
  MIDIClientRef a = 0;
  MIDIClientRef b = 0;
  ASSERT_EQ(MIDIClientCreate(nullptr, nullptr, nullptr, &a), noErr);
  ASSERT_EQ(MIDIClientCreate(nullptr, nullptr, nullptr, &b), noErr);
  EXPECT_NE(a, b);
  EXPECT_EQ(midisystem::clientCount(), before + 2);
  MIDIClientDispose(a);
  MIDIClientDispose(b);
  EXPECT_EQ(midisystem::clientCount(), before);
}

TEST(ControlTest, BackendIsVirtualAndCannotChangeOnceRunning) {
  EXPECT_EQ(midisystem::backendName(), "virtual");
  EXPECT_FALSE(midisystem::selectBackend("virtual"));
  EXPECT_FALSE(midisystem::selectBackend("no such backend"));
}

}  // namespace
