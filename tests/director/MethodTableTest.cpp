// Reading a message table: the loader's own Echo test Xtra shows the numbering of comment and
// blank lines; these are the arguments, line ends and tables that name no Xtra.
#include "MethodTable.h"

#include <gtest/gtest.h>

namespace director {
namespace {

TEST(MethodTable, ReadsNamesAndDeclaredArgumentsUpToTheComment) {
  std::optional<MethodTable> table = parseMethodTable(
      "xtra T -- by someone\r\nnew object me\r\n\t\r\n"
      "OpenInput object me, int portNumber, int bufSize -- begin, 1 to count\r\n"
      "SetChannelFilter object me, any messageTypes, any channels  -- filter");
  ASSERT_TRUE(table.has_value());
  EXPECT_EQ(table->lingoName, "T");
  ASSERT_EQ(table->methods.size(), 3u);
  EXPECT_EQ(table->methods[1].name, "OpenInput");
  const auto& open = table->methods[1].arguments;
  ASSERT_EQ(open.size(), 2u);
  EXPECT_EQ(open[0].type, "int");
  EXPECT_EQ(open[0].name, "portNumber");
  EXPECT_EQ(open[1].name, "bufSize");
  const auto& filter = table->methods[2].arguments;
  ASSERT_EQ(filter.size(), 2u);
  EXPECT_EQ(filter[1].type, "any");
  EXPECT_EQ(filter[1].name, "channels");
}

TEST(MethodTable, RejectsATableThatDoesNotNameItsXtra) {
  for (const char* text : {"", "new object me", "xtra", "xtra -- nameless", "xtraTonvik"}) {
    EXPECT_FALSE(parseMethodTable(text).has_value()) << text;
  }
  EXPECT_EQ(parseMethodTable("XTRA Echo")->methods.size(), 0u);
}

}  // namespace
}  // namespace director
