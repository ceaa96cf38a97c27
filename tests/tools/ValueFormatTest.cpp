#include "ValueFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tonvik {
namespace {

struct FormatCase {
  Value value;
  std::string put;
  std::string text;
};

Value nested() {
  Value inner = Value::newPropList();
  inner.asPropList().add(Value::string("k"), Value::newPropList());
  return Value::newList(
      {Value::integer(1), Value::newList({Value::floating(2), Value::string("a")}), inner});
}

class Formatting : public testing::TestWithParam<FormatCase> {};

TEST_P(Formatting, AsPutAndAsText) {
  EXPECT_EQ(formatValue(GetParam().value), GetParam().put);
  EXPECT_EQ(displayText(GetParam().value), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Formatting,
    testing::Values(FormatCase{Value::integer(-2147483647 - 1), "-2147483648", "-2147483648"},
                    FormatCase{Value::floating(0.5), "0.5000", "0.5000"},
                    FormatCase{Value::floating(3.14159), "3.1416", "3.1416"},
                    FormatCase{Value::floating(1e20), "100000000000000000000.0000",
                               "100000000000000000000.0000"},
                    FormatCase{Value::floating(std::numeric_limits<double>::infinity()), "INF",
                               "INF"},
                    FormatCase{Value::floating(std::nan("")), "NAN", "NAN"},
                    FormatCase{Value::string("say \"hi\""), "\"say \"hi\"\"", "say \"hi\""},
                    FormatCase{Value(), "<Void>", ""}, FormatCase{Value::newList(), "[]", "[]"},
                    FormatCase{Value::newPropList(), "[:]", "[:]"},
                    FormatCase{nested(), "[1, [2.0000, \"a\"], [\"k\": [:]]]",
                               "[1, [2.0000, \"a\"], [\"k\": [:]]]"},
                    FormatCase{Value::xtra("Tonvik"), "<Xtra \"Tonvik\">", "<Xtra \"Tonvik\">"}));

TEST(Formatting, SymbolsKeepTheirFirstSpelling) {
  Value first = Value::symbol("formatTestSymbol");
  Value later = Value::symbol("FORMATTESTSYMBOL");
  EXPECT_EQ(formatValue(later), "#formatTestSymbol");
  EXPECT_EQ(displayText(first), "formatTestSymbol");
  EXPECT_TRUE(first.asSymbol() == later.asSymbol());
}

TEST(Formatting, PropertyListsPrintKeysOfEveryKind) {
  Value props = Value::newPropList();
  props.asPropList().add(Value::symbol("code"), Value::integer(0));
  props.asPropList().add(Value::string("s"), Value::string("No error"));
  props.asPropList().add(Value::integer(3), Value());
  EXPECT_EQ(formatValue(props), "[#code: 0, \"s\": \"No error\", 3: <Void>]");
}

TEST(Formatting, InstancesShowTheirXtraAndNumber) {
  auto instance = std::make_shared<XtraInstance>();
  instance->xtraName = "Tonvik";
  instance->serial = 3;
  EXPECT_EQ(formatValue(Value::instance(instance)), "<Xtra child \"Tonvik\" 3>");
}

TEST(Formatting, ListsThatContainThemselvesDoNotRecurse) {
  Value list = Value::newList({Value::integer(1)});
  Value props = Value::newPropList();
  list.asList().items.push_back(props);
  props.asPropList().add(Value::symbol("back"), list);
  // The same list twice side by side is not a cycle.
  Value shared = Value::newList();
  Value twice = Value::newList({shared, shared});
  EXPECT_EQ(formatValue(list), "[1, [#back: [...]]]");
  EXPECT_EQ(formatValue(twice), "[[], []]");
  list.asList().items.clear();
}

}  // namespace
}  // namespace tonvik
