// A store, an instance with input and output open on a 1024-byte ring, and the census taken
// after both were made, so that a test can check that every call gives back what it made.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "LingoValues.h"
#include "RecordingPlatform.h"

class TonvikFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(platform_.OpenInput(0, 0), kErrNone);
    ASSERT_EQ(platform_.OpenOutput(0), kErrNone);
    baseline_ = store_.liveValues();
  }
  void TearDown() override {
    values_.releaseAll();
    EXPECT_EQ(store_.liveValues(), baseline_) << "values leaked";
  }

  // Argument values for calls; released before the final census.
  LingoValue sym(const char* name) { return values_.sym(name); }
  LingoValue num(std::int32_t number) { return values_.num(number); }
  LingoValue list(std::initializer_list<LingoValue> items) { return values_.list(items); }

  // GetNextMessage and GetPendingMessages as the dispatcher calls them, printed.
  std::string next() {
    LingoValue message = store_.makePropertyList();
    platform_.GetNextMessage(&message);
    return printAndRelease(store_, message);
  }
  std::string pending() {
    LingoValue messages = store_.makeLinearList();
    platform_.GetPendingMessages(&messages);
    return printAndRelease(store_, messages);
  }
  // Sets the system filter and checks that the call made no value of its own.
  std::int32_t systemFilter(LingoValue types) {
    const std::size_t live = store_.liveValues();
    const std::int32_t result = platform_.SetSystemFilter(&types);
    EXPECT_EQ(store_.liveValues(), live);
    return result;
  }

  director::ValueStore store_;
  RecordingPlatform platform_{store_};
  LingoValues values_{store_};
  std::size_t baseline_ = 0;
};
