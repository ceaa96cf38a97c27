#include <chrono>
#include <cstdint>
#include <limits>

#include "TransportTestSupport.h"

namespace {

using midisystem::Failure;
using MacOsxTonvikTest = InstanceTest;
using Clock = std::chrono::steady_clock;

TEST(MacOsxTonvikClock, ElapsedTimeTruncatesToMillisecondsAndWrapsPast31Bits) {
  constexpr std::uint64_t kNanosPerMilli = 1000000;
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds(1999999), 1);
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds(kMax * kNanosPerMilli), kMax);
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds((kMax + 1ull) * kNanosPerMilli), -kMax - 1);
  EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds(((1ull << 32) + 5) * kNanosPerMilli), 5);
}

TEST_F(MacOsxTonvikTest, OpenAndCloseAnswerTheirErrorsInOrder) {
  LingoValue ports = store.makeLinearList();
  instance->GetInputPorts(&ports);
  EXPECT_EQ(store.print(ports), "[]");
  EXPECT_EQ(instance->OpenInput(-5, 0), 2);
  EXPECT_EQ(instance->CloseInput(), 2);
  EXPECT_EQ(instance->OpenOutput(99), 2);
  EXPECT_EQ(instance->CloseOutput(), 2);
  ASSERT_EQ(instance->Init(), 0);
  instance->GetOutputPorts(&ports);
  EXPECT_EQ(store.print(ports), "[\"Virtual Bus\"]");
  store.release(ports);
  EXPECT_EQ(instance->CloseInput(), 13);
  EXPECT_EQ(instance->CloseOutput(), 14);
  EXPECT_EQ(instance->SendShortMessage(0xF8, 0, 0, 1), 14);
  EXPECT_EQ(instance->OpenInput(-1, 0), 15);
  EXPECT_EQ(instance->OpenInput(1, 0), 15);
  EXPECT_EQ(instance->OpenOutput(-1), 15);
  EXPECT_EQ(instance->OpenOutput(1), 15);
  store.failAllocations(1);
  EXPECT_EQ(instance->OpenInput(0, 0), 16);
  EXPECT_EQ(instance->OpenInput(0, 0), 0);
  EXPECT_EQ(instance->OpenInput(0, 0), 17);
  EXPECT_EQ(instance->OpenOutput(0), 0);
  EXPECT_EQ(instance->OpenOutput(0), 18);
  EXPECT_EQ(instance->CloseInput(), 0);
  EXPECT_EQ(instance->CloseOutput(), 0);
  EXPECT_EQ(instance->CloseInput(), 13);
  expectNoValueLeft();
}

TEST_F(MacOsxTonvikTest, APortThatCannotBeStartedAnswers3AndStaysClosed) {
  ASSERT_EQ(instance->Init(), 0);
  midisystem::failNext(Failure::ConnectSource);
  EXPECT_EQ(instance->OpenInput(0, 0), 3);
  unplug();  // between listing and opening
  EXPECT_EQ(instance->OpenInput(0, 0), 3);
  EXPECT_EQ(instance->CloseInput(), 13);
  EXPECT_EQ(instance->OpenOutput(0), 3);
  EXPECT_EQ(instance->CloseOutput(), 14);
}

TEST_F(MacOsxTonvikTest, WithoutAClientInitAnswers1000AndTheInstanceStaysUninitialised) {
  instance.reset();
  midisystem::failNext(Failure::ClientCreate, 3);  // both ports, then Init
  instance = makeInstance();
  EXPECT_EQ(instance->Init(), 1000);
  EXPECT_EQ(instance->OpenInput(0, 0), 2);
  const struct {
    std::int32_t code;
    const char* result;
  } results[] = {{1000, "[#code: 1000, #text: \"Couldn't create Core Midi client\"]"},
                 {13, "[#code: 13, #text: \"Input not open\"]"},
                 {1001, "[#code: 1001, #text: \"Unknown error\"]"}};
  for (const auto& r : results) {
    LingoValue result;
    instance->MakeErrorResult(r.code, &result);
    EXPECT_EQ(store.print(result), r.result);
    store.release(result);
  }
  // The ports make their CoreMIDI ports when they are started.
  ASSERT_EQ(instance->Init(), 0);
  EXPECT_EQ(instance->OpenInput(0, 0), 0);
  EXPECT_EQ(instance->OpenOutput(0), 0);
  expectNoValueLeft();
}

TEST_F(MacOsxTonvikTest, DestructionClosesBothPortsAndGivesBackEveryClientReference) {
  auto second = makeInstance();
  ASSERT_EQ(second->Init(), 0);
  ASSERT_EQ(instance->Init(), 0);  // again below: references must stay balanced
  openLoopback();
  ASSERT_EQ(send(sysexMessage(125, {1, 2, 3})), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  ASSERT_TRUE(instance->MessagesPending());
  instance.reset();
  EXPECT_EQ(allocator.outstanding.size(), 0u);
  EXPECT_TRUE(inject({{0x90, 60, 100}}));  // reaches no read procedure any more
  EXPECT_EQ(midisystem::clientCount(), 1);
  second.reset();
  EXPECT_EQ(midisystem::clientCount(), 0);
}

TEST_F(MacOsxTonvikTest, AFailedSysexFreesItsRecordAtOnce) {
  openLoopback();
  LingoValue withString = sysexMessage(125, {1});
  LingoValue data = store.itemAt(withString, 3);
  LingoValue text = store.makeString("two");
  store.append(data, text);
  store.release(text);
  store.release(data);
  EXPECT_EQ(send(withString), 10);
  EXPECT_EQ(send(sysexMessage(125, {1, 128})), 12);
  store.failAllocations(1);
  EXPECT_EQ(send(sysexMessage(125, {1})), 16);
  midisystem::failNext(Failure::SendSysex);
  EXPECT_EQ(send(sysexMessage(125, {1})), 3);
  EXPECT_EQ(allocator.outstanding.size(), 1u) << "only the input queue";
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  EXPECT_FALSE(instance->MessagesPending());
  expectNoValueLeft();
}

TEST_F(MacOsxTonvikTest, AFailedSendSilencesOutputUntilItIsReopened) {
  openLoopback();
  midisystem::failNext(Failure::Send);
  EXPECT_EQ(send(message("noteOn", {1, 60, 100})), 0);
  EXPECT_EQ(send(message("clock")), 0);
  EXPECT_EQ(send(sysexMessage(125, {})), 3);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  EXPECT_FALSE(instance->MessagesPending());
  ASSERT_EQ(instance->CloseOutput(), 0);
  ASSERT_EQ(instance->OpenOutput(0), 0);
  EXPECT_EQ(send(message("stop")), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  EXPECT_EQ(next(), "[#type: #stop]");
}

TEST_F(MacOsxTonvikTest, CloseOutputDropsATransferThatNeverCompletesAfterAboutOneSecond) {
  openLoopback();
  midisystem::failNext(Failure::SysexComplete);
  ASSERT_EQ(send(sysexMessage(125, {1, 2})), 0);
  const auto begin = Clock::now();
  EXPECT_EQ(instance->CloseOutput(), 0);
  const std::chrono::duration<double> waited = Clock::now() - begin;
  EXPECT_GE(waited.count(), 0.9);
  EXPECT_LE(waited.count(), 10.0);
  EXPECT_EQ(instance->CloseOutput(), 14);
  droppedBlocks = 1;  // the MIDI system may still write to it, so the instance never frees it
}

}  // namespace
