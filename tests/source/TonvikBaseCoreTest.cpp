// The instance core: construction and destruction, the symbol table and its counter, and error
// results. Symbols in another case are run by xtra_messages.ls.
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

TEST(TonvikBaseLifecycle, HoldsFortySymbolValuesUntilDestroyedEvenWhenTheHostFails) {
  for (bool failing : {false, true}) {
    director::ValueStore store;
    if (failing) {
      store.failNext(director::HostOperation::MakeSymbolValue, 5);
      store.failNext(director::HostOperation::InternSymbol, 3);
    }
    {
      RecordingPlatform platform(store);
      EXPECT_EQ(TonvikBaseInternals::acquiredSymbolValueCount(platform), 40);
      // Without a queue until input opens; what a new instance answers is run by
      // xtra_lifecycle.ls, and its open filters by xtra_filters.ls.
      EXPECT_EQ(TonvikBaseInternals::ring(platform), nullptr);
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

}  // namespace
