// Inputs the fuzzers found, kept so that they stay fixed.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "BundleRig.h"
#include "MidiSystemControl.h"

namespace {

// fuzz_call_values: OpenOutput(-2147483648) overflowed turning the script's port number into an
// index (undefined behaviour, caught by UBSan). Every port number below 1 is invalid.
TEST(FuzzRegression, MostNegativePortNumberIsAnInvalidPort) {
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  {
    BundleRig rig(TONVIK_XTRA_PATH);
    ASSERT_TRUE(rig.loaded());
    ASSERT_EQ(rig.create(), "0");
    rig.call("Init");
    const std::string kInvalidPort = "[#code: 15, #text: \"Invalid port number\"]";
    EXPECT_EQ(rig.call("OpenOutput", std::vector<std::int32_t>{kMin}), kInvalidPort);
    EXPECT_EQ(rig.call("OpenInput", std::vector<std::int32_t>{kMin, 0}), kInvalidPort);
    EXPECT_EQ(rig.call("OpenOutput", std::vector<std::int32_t>{0}), kInvalidPort);
    EXPECT_EQ(rig.call("OpenInput", std::vector<std::int32_t>{-1, 0}), kInvalidPort);
    rig.instance.reset();
    EXPECT_EQ(rig.store.liveValues(), 0u);
  }
  EXPECT_EQ(midisystem::clientCount(), 0);
}

}  // namespace
