// The instance core: destruction after the host failed to make its symbols, and error results.
// Symbols in another case are run by xtra_messages.ls.
#include <limits>
#include <string>

#include "TonvikTestPlatform.h"

namespace {

using ErrorResultTest = TonvikFixture;

// The texts of the known codes reach scripts (xtra_*.ls); a code the base does not know,
// the platform's own included, reads as unknown.
TEST_F(ErrorResultTest, UnknownCodesGiveCodeThenTextAndLeaveNothingBehind) {
  for (std::int32_t code : {1, 19, -1, std::numeric_limits<std::int32_t>::min(), 1000}) {
    LingoValue result;
    platform_.TonvikBase::MakeErrorResult(code, &result);
    EXPECT_EQ(printAndRelease(store_, result),
              "[#code: " + std::to_string(code) + ", #text: \"Unknown error\"]");
    EXPECT_EQ(store_.liveValues(), baseline_) << "code " << code;
  }
}

// The 40 symbol values an instance holds are counted by xtra_lifecycle.ls; those the host failed
// to make must be neither released nor leaked, with the queue gone too.
TEST(TonvikBaseLifecycle, GivesBackEverythingWhenTheHostFailedToMakeSymbols) {
  director::ValueStore store;
  store.failNext(director::HostOperation::MakeSymbolValue, 5);
  store.failNext(director::HostOperation::InternSymbol, 3);
  {
    RecordingPlatform platform(store);
    ASSERT_EQ(platform.OpenInput(0, 5000), kErrNone);
  }
  EXPECT_EQ(store.liveValues(), 0u);
  EXPECT_EQ(store.liveBlocks(), 0u);
}

}  // namespace
