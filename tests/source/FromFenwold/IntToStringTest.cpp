#include <gtest/gtest.h>

#include <climits>

#include "IntToString.h"

namespace {

TEST(IntToStringTest, FormatsLikePrintfAtBothEnds) {
  EXPECT_STREQ(IntToString(-17).c_str(), "-17");
  EXPECT_STREQ(IntToString(INT32_MAX).c_str(), "2147483647");
  EXPECT_STREQ(IntToString(INT32_MIN).c_str(), "-2147483648");
}

}  // namespace
