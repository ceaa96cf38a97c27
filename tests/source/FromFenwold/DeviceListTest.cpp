#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "DeviceList.h"
#include "IntToString.h"
#include "OSXMidiUtils.h"

namespace {

TEST(DeviceListTest, KeepsEntriesInOrderAndHandsOutCopies) {
  DeviceList list;
  list.append({"Uno", "Uno,0%Uno,0%Uno,0"});
  list.append({"Synth (1)", "Synth,0"});
  ASSERT_EQ(list.size(), 2);
  DeviceListEntry copy = list.at(1);
  EXPECT_EQ(copy.first, "Synth (1)");
  copy.first = "changed";
  EXPECT_EQ(list.at(1).first, "Synth (1)");
  list.clear();
  EXPECT_EQ(list.size(), 0);
}

TEST(DeviceListDeathTest, IndexOutsideTheListIsAnAssertion) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  DeviceList list;
  list.append({"Uno", "Uno,0"});
  EXPECT_DEATH(list.at(1),
               "Assertion failed: index >= 0 && index < devices_.size\\(\\), "
               "function at, file DeviceList.cpp");
  EXPECT_DEATH(list.at(-1), "function at, file DeviceList.cpp");
}

TEST(IntToStringTest, FormatsLikePrintf) {
  EXPECT_STREQ(IntToString(0).c_str(), "0");
  EXPECT_STREQ(IntToString(-17).c_str(), "-17");
  EXPECT_STREQ(IntToString(INT32_MAX).c_str(), "2147483647");
  EXPECT_STREQ(IntToString(INT32_MIN).c_str(), "-2147483648");
}

TEST(DuplicateSuffixTest, NumbersFromOne) {
  EXPECT_EQ(duplicateSuffix(0), " (1)");
  EXPECT_EQ(duplicateSuffix(1), " (2)");
  EXPECT_EQ(duplicateSuffix(9), " (10)");
}

}  // namespace
