#include "MethodTable.h"

#include <gtest/gtest.h>

namespace director {
namespace {

struct NumberingCase {
  const char* label;
  const char* text;
  const char* lingoName;
  std::vector<std::string> methods;
};

class MethodNumbering : public testing::TestWithParam<NumberingCase> {};

TEST_P(MethodNumbering, CountsDeclarationLinesOnlyInTableOrder) {
  const NumberingCase& c = GetParam();
  std::optional<MethodTable> table = parseMethodTable(c.text);
  ASSERT_TRUE(table.has_value());
  EXPECT_EQ(table->lingoName, c.lingoName);
  std::vector<std::string> names;
  for (const MethodDeclaration& method : table->methods) names.push_back(method.name);
  EXPECT_EQ(names, c.methods);
}

INSTANTIATE_TEST_SUITE_P(
    Tables, MethodNumbering,
    testing::Values(
        NumberingCase{
            "FirstLineComment", "xtra Tonvik -- by someone\nnew object me", "Tonvik", {"new"}},
        NumberingCase{"NoMethods", "XTRA Echo", "Echo", {}},
        NumberingCase{"CommentsAndBlanks",
                      "xtra A\n-- heading\nnew object me\n\n   -- indented\nGo object me -- "
                      "comment\n             -- comment of Go\nStop object me\n",
                      "A",
                      {"new", "Go", "Stop"}},
        NumberingCase{"CarriageReturns",
                      "xtra B\r\nnew object me\r\n\t\r\nRun object me, int n\r\n",
                      "B",
                      {"new", "Run"}}),
    [](const testing::TestParamInfo<NumberingCase>& info) {
      return std::string(info.param.label);
    });

TEST(MethodTable, ReadsDeclaredArgumentsUpToTheComment) {
  std::optional<MethodTable> table = parseMethodTable(
      "xtra T\nOpenInput object me, int portNumber, int bufSize -- begin, 1 to count\n"
      "SetChannelFilter object me, any messageTypes, any channels  -- filter");
  ASSERT_TRUE(table.has_value());
  ASSERT_EQ(table->methods.size(), 2u);
  const auto& open = table->methods[0].arguments;
  ASSERT_EQ(open.size(), 2u);
  EXPECT_EQ(open[0].type, "int");
  EXPECT_EQ(open[0].name, "portNumber");
  EXPECT_EQ(open[1].name, "bufSize");
  const auto& filter = table->methods[1].arguments;
  ASSERT_EQ(filter.size(), 2u);
  EXPECT_EQ(filter[1].type, "any");
  EXPECT_EQ(filter[1].name, "channels");
}

TEST(MethodTable, RejectsATableThatDoesNotNameItsXtra) {
  for (const char* text : {"", "new object me", "xtra", "xtra -- nameless", "xtraTonvik"}) {
    EXPECT_FALSE(parseMethodTable(text).has_value()) << text;
  }
}

}  // namespace
}  // namespace director
