// Reading a message table: line ends and tables that name no Xtra.
#include "MethodTable.h"

#include <gtest/gtest.h>

namespace director {
namespace {

TEST(MethodTable, RejectsATableThatDoesNotNameItsXtra) {
  for (const char* text : {"", "new object me", "xtra", "xtra -- nameless", "xtraTonvik"}) {
    EXPECT_FALSE(parseMethodTable(text).has_value()) << text;
  }
  EXPECT_EQ(parseMethodTable("XTRA Echo")->methods.size(), 0u);
  // Names and declared arguments of the Xtra's own table reach every script; line ends may be
  // those of another system.
  EXPECT_EQ(parseMethodTable("xtra T\r\nnew object me\r\n").value().methods[0].name, "new");
}

}  // namespace
}  // namespace director
