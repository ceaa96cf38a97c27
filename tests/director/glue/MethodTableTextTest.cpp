// The message table the Xtra registers: it names the Xtra first, and lays every comment that
// follows a declaration out from column 50, or two spaces after a declaration too long for
// that. The methods it declares, in the dispatcher's order, are what every script calls by name,
// and the scripts run them all.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "XtraMethodTable.h"

namespace {

constexpr std::size_t kCommentColumn = 49;  // zero-based: column 50

TEST(MethodTableText, NamesTheXtraAndLaysCommentsOutFromColumn50) {
  std::istringstream text{std::string(kMethodTableText)};
  std::string line;
  std::getline(text, line);
  EXPECT_EQ(line.rfind("xtra Tonvik -- ", 0), 0u) << line;
  EXPECT_GT(line.size(), std::string("xtra Tonvik -- ").size());
  int declarationComments = 0;
  while (std::getline(text, line)) {
    const std::size_t comment = line.find("--");
    const std::size_t declarationEnd = line.find_last_not_of(' ', comment - 1);
    if (comment == std::string::npos || comment == 0 || declarationEnd == std::string::npos) {
      continue;  // a heading, a blank line or a comment line of its own
    }
    ++declarationComments;
    const std::size_t gap = comment - declarationEnd - 1;
    EXPECT_TRUE(comment == kCommentColumn || (comment > kCommentColumn && gap == 2)) << line;
  }
  EXPECT_GT(declarationComments, 0) << "no declaration's comment was checked";
}

}  // namespace
