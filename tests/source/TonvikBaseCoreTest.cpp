// The instance core: construction and destruction, the symbol table and its counter, error
// results and the assertion report.
#include <fstream>
#include <limits>
#include <string>

#include "TonvikTestPlatform.h"

namespace {

struct ErrorCase {
  std::int32_t code;
  const char* text;
};

constexpr ErrorCase kErrorTable[] = {
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
    {999, "Unknown error"},
};

std::string errorList(std::int32_t code, const char* text) {
  return "[#code: " + std::to_string(code) + ", #text: \"" + text + "\"]";
}

using ErrorResultTest = TonvikFixture;

TEST_F(ErrorResultTest, EveryCodeGivesCodeThenTextAndLeavesNothingBehind) {
  for (const ErrorCase& row : kErrorTable) {
    EXPECT_EQ(errorResult(row.code), errorList(row.code, row.text)) << "code " << row.code;
    EXPECT_EQ(store_.liveValues(), baseline_) << "code " << row.code;
  }
}

TEST_F(ErrorResultTest, PlatformAnswersItsOwnCodeAndTheBaseDoesNot) {
  EXPECT_EQ(errorResult(RecordingPlatform::kPlatformError),
            errorList(1000, "Couldn't create Core Midi client"));

  LingoValue result;
  platform_.TonvikBase::MakeErrorResult(RecordingPlatform::kPlatformError, &result);
  EXPECT_EQ(store_.print(result), errorList(1000, "Unknown error"));
  store_.release(result);
}

TEST(TonvikBaseLifecycle, ConstructionHoldsFortySymbolValuesAndDestructionGivesThemBack) {
  director::ValueStore store;
  {
    RecordingPlatform platform(store);
    EXPECT_EQ(TonvikBaseInspector::acquiredSymbolValueCount(platform), 40);
    // The seven filter classes have handles but no values.
    EXPECT_EQ(store.liveValues(), 40u);
    EXPECT_EQ(TonvikBaseInspector::realTimeSymbol(platform), store.intern("realTime"));
  }
  EXPECT_EQ(store.liveValues(), 0u);
  EXPECT_EQ(store.liveBlocks(), 0u);
}

TEST(TonvikBaseLifecycle, NewInstanceIsEmptyOpenToEverythingAndClosed) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  EXPECT_FALSE(platform.MessagesPending());
  EXPECT_FALSE(platform.InputOverflowed());
  for (int byte = 0; byte < 16; ++byte) {
    EXPECT_EQ(TonvikBaseInspector::statusFilter(platform, byte), 0xFF);
    EXPECT_EQ(TonvikBaseInspector::modeFilter(platform, byte), 0xFF);
  }
  EXPECT_EQ(TonvikBaseInspector::inputQueue(platform), nullptr);
  EXPECT_EQ(platform.SendMessage(nullptr), kErrOutputNotOpen);
}

TEST(TonvikBaseLifecycle, DestroyingWithoutInitFreesNoQueueAndCallsNoPort) {
  director::ValueStore store;
  auto* platform = new RecordingPlatform(store);
  EXPECT_EQ(platform->initCalls, 0);
  delete static_cast<TonvikBase*>(platform);
  EXPECT_EQ(store.liveBlocks(), 0u);
  EXPECT_EQ(store.liveValues(), 0u);
}

TEST(TonvikBaseLifecycle, DestructionFreesTheQueue) {
  director::ValueStore store;
  {
    RecordingPlatform platform(store);
    ASSERT_EQ(platform.OpenInput(0, 5000), kErrNone);
    EXPECT_EQ(store.liveBlocks(), 1u);
  }
  EXPECT_EQ(store.liveBlocks(), 0u);
}

TEST(TonvikBaseLifecycle, FailingHostDuringConstructionStillBalancesTheCounter) {
  director::ValueStore store;
  store.failNext(director::HostOperation::MakeSymbolValue, 5);
  store.failNext(director::HostOperation::InternSymbol, 3);
  {
    RecordingPlatform platform(store);
    EXPECT_EQ(TonvikBaseInspector::acquiredSymbolValueCount(platform), 40);
  }
  EXPECT_EQ(store.liveValues(), 0u);
}

TEST(TonvikBaseSymbols, ScriptSymbolInAnotherCaseIsRecognisedByHandle) {
  director::ValueStore store;
  LingoValue upper = store.makeSymbol("NOTEON");
  RecordingPlatform platform(store);
  EXPECT_EQ(TonvikBaseInspector::noteOnSymbol(platform), store.symbol(upper));

  platform.setOutputOpen(true);
  LingoValue message = store.makeLinearList();
  LingoValue channel = store.makeInteger(1), key = store.makeInteger(60),
             velocity = store.makeInteger(100);
  for (LingoValue* item : {&upper, &channel, &key, &velocity}) {
    store.append(message, *item);
    store.release(*item);
  }
  EXPECT_EQ(platform.SendMessage(&message), kErrNone);
  store.release(message);
  ASSERT_EQ(platform.shortSends.size(), 1u);
  EXPECT_EQ(platform.shortSends[0], (RecordingPlatform::ShortSend{0x90, 60, 100, 3}));
}

// The assertion report must name the line where the assertion stands; find it in the source.
int lineOf(const std::string& file, const std::string& function, const std::string& text) {
  std::ifstream in(std::string(TONVIK_SOURCE_DIR) + "/" + file);
  std::string line;
  bool inFunction = false;
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.find("TonvikBase::" + function + "(") != std::string::npos) inFunction = true;
    if (inFunction && line.find(text) != std::string::npos) return number;
  }
  return -1;
}

std::string escapeRegex(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    if (std::string(".[]{}()\\*+?|^$").find(c) != std::string::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string reportPattern(const std::string& expression, const std::string& function) {
  const int line = lineOf("TonvikBase.cpp", function, "TONVIK_ASSERT(" + expression + ")");
  EXPECT_GT(line, 0);
  return "^" +
         escapeRegex("Assertion failed: " + expression + ", function " + function +
                     ", file TonvikBase.cpp, line " + std::to_string(line) + ".") +
         "\n";
}

TEST(TonvikBaseSymbolsDeathTest, InitSymbolsTwiceReportsTheCounter) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  director::ValueStore store;
  RecordingPlatform platform(store);
  EXPECT_DEATH(TonvikBaseInspector::initSymbols(platform),
               reportPattern("acquiredSymbolValueCount_ == 0", "InitSymbols"));
}

TEST(TonvikBaseSymbolsDeathTest, ReleasingMoreThanWasMadeReportsTheCounter) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  director::ValueStore store;
  RecordingPlatform platform(store);
  EXPECT_DEATH(
      {
        TonvikBaseInspector::releaseSymbols(platform);
        TonvikBaseInspector::releaseExtraSymbolValue(platform);
      },
      reportPattern("acquiredSymbolValueCount_ >= 0", "ReleaseSymbolValue"));
}

TEST(TonvikBaseSymbolsDeathTest, LeavingReleaseWithValuesUnaccountedReportsTheCounter) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  director::ValueStore store;
  RecordingPlatform platform(store);
  EXPECT_DEATH(
      {
        TonvikBaseInspector::acquireExtraSymbolValue(platform);
        TonvikBaseInspector::releaseSymbols(platform);
      },
      reportPattern("acquiredSymbolValueCount_ == 0", "ReleaseSymbols"));
}

}  // namespace
