// The instance core: construction and destruction, the symbol table and its counter, and error
// results.
#include <limits>
#include <string>

#include "TonvikTestPlatform.h"

namespace {

using ErrorResultTest = TonvikFixture;

TEST_F(ErrorResultTest, EveryCodeGivesCodeThenTextAndLeavesNothingBehind) {
  const std::pair<std::int32_t, const char*> table[] = {
      {0, "No error"},
      {2, "Instance not initialised - call Init() first"},
      {3, "Internal driver error"},
      {4, "Invalid parameter type"},
      {5, "Invalid parameter value"},
      {6, "Parameter value out of range"},
      {7, "Unknown message type"},
      {8, "Message is not a symbol"},
      {9, "An error occurred while unpacking the message"},
      {10, "Message property is not an integer"},
      {11, "Missing message property"},
      {12, "Message property out of range"},
      {13, "Input not open"},
      {14, "Output not open"},
      {15, "Invalid port number"},
      {16, "Not enough memory to complete the operation"},
      {17, "Input already open"},
      {18, "Output already open"},
      {1, "Unknown error"},
      {19, "Unknown error"},
      {-1, "Unknown error"},
      {std::numeric_limits<std::int32_t>::min(), "Unknown error"},
      // The platform's own code is unknown to the base alone.
      {1000, "Unknown error"},
  };
  for (const auto& [code, text] : table) {
    LingoValue result;
    platform_.TonvikBase::MakeErrorResult(code, &result);
    EXPECT_EQ(printAndRelease(store_, result),
              "[#code: " + std::to_string(code) + ", #text: \"" + text + "\"]");
    EXPECT_EQ(store_.liveValues(), baseline_) << "code " << code;
  }
}

TEST(TonvikBaseLifecycle, HoldsFortySymbolValuesUntilDestroyedEvenWhenTheHostFails) {
  for (bool failing : {false, true}) {
    director::ValueStore store;
    if (failing) {
      store.failNext(director::HostOperation::MakeSymbolValue, 5);
      store.failNext(director::HostOperation::InternSymbol, 3);
    }
    {
      RecordingPlatform platform(store);
      EXPECT_EQ(TonvikBaseInspector::acquiredSymbolValueCount(platform), 40);
      // Open to everything, empty, without a queue, and closed.
      EXPECT_EQ(TonvikBaseInspector::statusFilter(platform, 9), 0xFF);
      EXPECT_EQ(TonvikBaseInspector::modeFilter(platform, 15), 0xFF);
      EXPECT_FALSE(platform.MessagesPending());
      EXPECT_EQ(TonvikBaseInspector::ring(platform), nullptr);
      EXPECT_EQ(platform.SendMessage(nullptr), kErrOutputNotOpen);
      ASSERT_EQ(platform.OpenInput(0, 5000), kErrNone);
      EXPECT_EQ(store.liveBlocks(), 1u);
      if (!failing) {
        EXPECT_EQ(store.liveValues(), 40u);
      }
    }
    EXPECT_EQ(store.liveValues(), 0u);
    EXPECT_EQ(store.liveBlocks(), 0u);
  }
}

TEST(TonvikBaseSymbols, ScriptSymbolInAnotherCaseIsRecognisedByHandle) {
  director::ValueStore store;
  LingoValues values(store);
  LingoValue message = values.message("NOTEON", {1, 60, 100});
  RecordingPlatform platform(store);
  EXPECT_EQ(TonvikBaseInspector::noteOnSymbol(platform), store.intern("noteOn"));
  platform.setOutputOpen(true);
  EXPECT_EQ(platform.SendMessage(&message), kErrNone);
  EXPECT_EQ(platform.shortSends, (std::vector<RecordingPlatform::ShortSend>{{0x90, 60, 100, 3}}));
}

}  // namespace
