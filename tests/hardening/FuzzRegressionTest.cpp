// Inputs the fuzzers found, kept so that they stay fixed.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "MidiSystemControl.h"
#include "ValueStore.h"
#include "XtraLoader.h"

namespace {

// fuzz_call_values: OpenOutput(-2147483648) overflowed turning the script's port number into an
// index (undefined behaviour, caught by UBSan). Every port number below 1 is invalid.
TEST(FuzzRegression, MostNegativePortNumberIsAnInvalidPort) {
  director::ValueStore store;
  {
    director::XtraLoader loader(store);
    ASSERT_EQ(loader.loadBundle(TONVIK_XTRA_PATH), std::nullopt);
    auto tonvik = loader.find("Tonvik")->newInstance().instance;
    ASSERT_NE(tonvik, nullptr);
    const std::string kInvalidPort = "[#code: 15, #text: \"Invalid port number\"]";
    const struct {
      const char* method;
      std::vector<std::int32_t> arguments;
    } calls[] = {
        {"Init", {}},
        {"OpenOutput", {std::numeric_limits<std::int32_t>::min()}},
        {"OpenInput", {std::numeric_limits<std::int32_t>::min(), 0}},
        {"OpenOutput", {0}},
        {"OpenInput", {-1, 0}},
    };
    for (const auto& c : calls) {
      std::vector<LingoValue> arguments;
      for (std::int32_t number : c.arguments) arguments.push_back(store.makeInteger(number));
      director::XtraCallResult called = tonvik->call(c.method, arguments);
      const std::string printed = store.print(called.result);
      if (std::string(c.method) != "Init") {
        EXPECT_EQ(printed, kInvalidPort) << c.method;
      }
      store.release(called.result);
      for (LingoValue& argument : arguments) store.release(argument);
    }
  }
  EXPECT_EQ(store.liveValues(), 0u);
  EXPECT_EQ(midisystem::clientCount(), 0);
}

}  // namespace
