// The printer beyond what printing.ls and lists.ls show: values a script cannot easily make.
#include "ValueFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tonvik {
namespace {

TEST(Formatting, ValuesAScriptRarelyMakesAsPutAndAsText) {
  const std::pair<Value, std::string> cases[] = {
      {Value::floating(1e20), "100000000000000000000.0000"},
      {Value::floating(std::numeric_limits<double>::infinity()), "INF"},
      {Value::floating(std::nan("")), "NAN"},
      {Value::xtra("Tonvik"), "<Xtra \"Tonvik\">"},
  };
  for (const auto& [value, printed] : cases) {
    EXPECT_EQ(formatValue(value), printed);
    EXPECT_EQ(displayText(value), printed);
  }
  EXPECT_EQ(formatValue(Value::string("say \"hi\"")), "\"say \"hi\"\"");
  EXPECT_EQ(displayText(Value::string("say \"hi\"")), "say \"hi\"");
  EXPECT_EQ(displayText(Value()), "");
  auto instance = std::make_shared<XtraInstance>();
  instance->xtraName = "Tonvik";
  instance->serial = 3;
  EXPECT_EQ(formatValue(Value::instance(instance)), "<Xtra child \"Tonvik\" 3>");
}

}  // namespace
}  // namespace tonvik
