#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>

#include "InstanceTestSupport.h"

namespace {

using midisystem::Failure;

constexpr std::uint64_t kNanosPerMilli = 1000000;

TEST(MacOsxTonvikClock, ElapsedTimeTruncatesToMillisecondsAndWrapsPast31Bits) {
  const struct {
    std::uint64_t nanos;
    std::int32_t millis;
  } cases[] = {
      {0, 0},
      {1999999, 1},
      {std::uint64_t{std::numeric_limits<std::int32_t>::max()} * kNanosPerMilli,
       std::numeric_limits<std::int32_t>::max()},
      {(std::uint64_t{1} << 31) * kNanosPerMilli, std::numeric_limits<std::int32_t>::min()},
      {((std::uint64_t{1} << 32) + 5) * kNanosPerMilli, 5},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(MacOsxTonvik::elapsedMilliseconds(c.nanos), c.millis) << c.nanos;
  }
}

using MacOsxTonvikTest = InstanceTest;

TEST_F(MacOsxTonvikTest, TheTimerRunsFromConstructionWithoutInit) {
  using Clock = std::chrono::steady_clock;
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_GE(instance->GetTime(), 20);
  const auto beforeReset = Clock::now();
  instance->ResetTimer();
  const std::int32_t afterReset = instance->GetTime();
  const auto sinceReset =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - beforeReset);
  EXPECT_GE(afterReset, 0);
  EXPECT_LE(afterReset, sinceReset.count());
  EXPECT_GT(instance->currentTimeSeconds(), 0.0);
}

TEST_F(MacOsxTonvikTest, BeforeInitPortsAreEmptyAndOpenAndCloseAnswer2) {
  EXPECT_TRUE(ports(true).empty());
  EXPECT_TRUE(ports(false).empty());
  EXPECT_EQ(instance->OpenInput(-5, 0), 2);
  EXPECT_EQ(instance->CloseInput(), 2);
  EXPECT_EQ(instance->OpenOutput(99), 2);
  EXPECT_EQ(instance->CloseOutput(), 2);
  EXPECT_EQ(instance->SendShortMessage(0x90, 60, 100, 3), 14);
  expectNoValueLeft();
}

TEST_F(MacOsxTonvikTest, OpenAndCloseAnswerTheirErrorsInOrder) {
  ASSERT_EQ(instance->Init(), 0);
  EXPECT_EQ(ports(true), std::vector<std::string>{"Virtual Bus"});
  EXPECT_EQ(ports(false), std::vector<std::string>{"Virtual Bus"});
  EXPECT_EQ(instance->CloseInput(), 13);
  EXPECT_EQ(instance->CloseOutput(), 14);
  EXPECT_EQ(instance->OpenInput(-1, 0), 15);
  EXPECT_EQ(instance->OpenInput(1, 0), 15);
  EXPECT_EQ(instance->OpenOutput(-1), 15);
  EXPECT_EQ(instance->OpenOutput(1), 15);
  store.failAllocations(1);
  EXPECT_EQ(instance->OpenInput(0, 0), 16);
  EXPECT_EQ(instance->CloseInput(), 13);
  EXPECT_EQ(instance->OpenInput(0, 0), 0);
  EXPECT_EQ(instance->OpenInput(0, 0), 17);
  EXPECT_EQ(instance->OpenOutput(0), 0);
  EXPECT_EQ(instance->OpenOutput(0), 18);
  EXPECT_EQ(instance->CloseInput(), 0);
  EXPECT_EQ(instance->CloseOutput(), 0);
  EXPECT_EQ(instance->CloseInput(), 13);
  expectNoValueLeft();
}

TEST_F(MacOsxTonvikTest, APortUnpluggedBetweenListingAndOpeningAnswers3) {
  ASSERT_EQ(instance->Init(), 0);
  unplug();
  EXPECT_EQ(instance->OpenInput(0, 0), 3);
  EXPECT_EQ(instance->CloseInput(), 13);
  EXPECT_EQ(instance->OpenOutput(0), 3);
  EXPECT_EQ(instance->CloseOutput(), 14);
  EXPECT_TRUE(ports(true).empty());
}

TEST_F(MacOsxTonvikTest, AFailedConnectionAnswers3AndKeepsInputClosed) {
  ASSERT_EQ(instance->Init(), 0);
  midisystem::failNext(Failure::ConnectSource);
  EXPECT_EQ(instance->OpenInput(0, 0), 3);
  EXPECT_EQ(instance->OpenInput(0, 0), 0);
}

TEST_F(MacOsxTonvikTest, NoClientGives1000AndLeavesTheInstanceUninitialised) {
  instance.reset();
  ASSERT_EQ(midisystem::clientCount(), 0);
  // Both ports and Init try to create the shared client.
  midisystem::failNext(Failure::ClientCreate, 3);
  instance = makeInstance();
  EXPECT_EQ(instance->Init(), 1000);
  EXPECT_EQ(instance->OpenInput(0, 0), 2);
  EXPECT_TRUE(ports(true).empty());
  EXPECT_EQ(errorResult(1000), "[#code: 1000, #text: \"Couldn't create Core Midi client\"]");
  EXPECT_EQ(errorResult(13), "[#code: 13, #text: \"Input not open\"]");
  EXPECT_EQ(errorResult(1001), "[#code: 1001, #text: \"Unknown error\"]");
  // The ports create their CoreMIDI ports when they are started.
  ASSERT_EQ(instance->Init(), 0);
  EXPECT_EQ(instance->OpenInput(0, 0), 0);
  EXPECT_EQ(instance->OpenOutput(0), 0);
  expectNoValueLeft();
}

TEST_F(MacOsxTonvikTest, ClientReferencesStayBalancedAcrossInstancesAndRepeatedInit) {
  auto second = makeInstance();
  ASSERT_EQ(instance->Init(), 0);
  ASSERT_EQ(instance->Init(), 0);
  ASSERT_EQ(second->Init(), 0);
  instance.reset();
  EXPECT_EQ(midisystem::clientCount(), 1);
  second.reset();
  EXPECT_EQ(midisystem::clientCount(), 0);
}

TEST_F(MacOsxTonvikTest, DestructionClosesInputAndOutputAndGivesEverythingBack) {
  openLoopback();
  ASSERT_EQ(send(sysexMessage(125, {1, 2, 3})), 0);
  ASSERT_TRUE(midisystem::waitUntilDelivered());
  ASSERT_TRUE(instance->MessagesPending());
  instance.reset();
  EXPECT_EQ(midisystem::clientCount(), 0);
  EXPECT_EQ(store.liveBlocks(), 0u);
  // Nothing is connected any more: this reaches no read procedure.
  EXPECT_TRUE(virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, {{0x90, 60, 100}}));
}

TEST_F(MacOsxTonvikTest, SysexErrorsFreeTheRecordAtOnce) {
  openLoopback();
  const std::size_t blocks = store.liveBlocks();
  LingoValue withString = sysexMessage(125, {1});
  LingoValue data = store.itemAt(withString, 3);
  LingoValue text = store.makeString("two");
  store.append(data, text);
  store.release(text);
  store.release(data);
  const struct {
    LingoValue message;
    std::int32_t code;
  } cases[] = {
      {sysexMessage(125, {1, 128}), 12},
      {withString, 10},
  };
  for (const auto& c : cases) EXPECT_EQ(send(c.message), c.code);
  store.failAllocations(1);
  EXPECT_EQ(send(sysexMessage(125, {1})), 16);
  midisystem::failNext(Failure::SendSysex);
  EXPECT_EQ(send(sysexMessage(125, {1})), 3);
  EXPECT_EQ(store.liveBlocks(), blocks);
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
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(instance->CloseOutput(), 0);
  const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(waited.count(), 0.9);
  EXPECT_LE(waited.count(), 10.0);
  EXPECT_EQ(instance->CloseOutput(), 14);
  // The record stays with the MIDI system, which may still write to it, so it is never freed.
  droppedBlocks = 1;
}

}  // namespace
