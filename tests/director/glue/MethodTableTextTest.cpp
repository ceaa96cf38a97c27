#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "MethodTable.h"
#include "XtraMethodTable.h"

namespace {

constexpr std::size_t kCommentColumn = 49;  // zero-based: column 50

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    out.push_back(text.substr(start, end - start));
  }
  out.push_back(text.substr(start));
  return out;
}

// Each declaration with the comment that follows it, from which the lines must be laid out.
struct Declared {
  const char* declaration;
  const char* comment;  // null: no comment on the line
};

const Declared kDeclared[] = {
    {"new object me", nullptr},
    {"Init object me", "prepare for operation, returns errors"},
    {"GetTime object me", "returns internal timer time in milliseconds"},
    {"ResetTimer object me", "resets internal timer to 0"},
    {"GetInputPorts object me", "returns a list of available MIDI input ports"},
    {"OpenInput object me, int portNumber, int bufSize",
     "begin MIDI input, 1 to count( GetInputPorts() )"},
    {"CloseInput object me", "finish MIDI input"},
    {"SetSystemFilter object me, any messageTypes", "filter system messages"},
    {"SetChannelFilter object me, any messageTypes, any channels", "filter channel messages"},
    {"MessagesPending object me", "returns true if the input queue contains messages"},
    {"GetNextMessage object me", "retrieve next message from the input queue"},
    {"GetPendingMessages object me", "returns a list of all pending messages"},
    {"InputOverflowed object me", "returns true if the input queue has overflowed"},
    {"FlushInput object me", "flush all pending messages from the input queue"},
    {"GetOutputPorts object me", "returns a list of available MIDI output ports"},
    {"OpenOutput object me, int portNumber", "begin MIDI output, 1 to count( GetOutputPorts() )"},
    {"CloseOutput object me", "finish MIDI output"},
    {"SendMessage object me, any message", nullptr},
};

std::string laidOut(const Declared& d) {
  std::string line = d.declaration;
  if (d.comment == nullptr) return line;
  if (line.size() < kCommentColumn) {
    line.resize(kCommentColumn, ' ');
  } else {
    line += "  ";  // too long to pad: two spaces
  }
  return line + "-- " + d.comment;
}

TEST(MethodTableText, IsTheTableLineForLine) {
  const std::vector<std::string> expected = {"-- Construction and Initialisation:",
                                             laidOut(kDeclared[0]),
                                             laidOut(kDeclared[1]),
                                             "",
                                             "-- Timer:",
                                             laidOut(kDeclared[2]),
                                             laidOut(kDeclared[3]),
                                             "",
                                             "-- MIDI input:",
                                             laidOut(kDeclared[4]),
                                             laidOut(kDeclared[5]),
                                             laidOut(kDeclared[6]),
                                             "",
                                             laidOut(kDeclared[7]),
                                             laidOut(kDeclared[8]),
                                             "",
                                             laidOut(kDeclared[9]),
                                             laidOut(kDeclared[10]),
                                             laidOut(kDeclared[11]),
                                             laidOut(kDeclared[12]),
                                             laidOut(kDeclared[13]),
                                             "",
                                             "-- MIDI output:",
                                             laidOut(kDeclared[14]),
                                             laidOut(kDeclared[15]),
                                             laidOut(kDeclared[16]),
                                             "",
                                             laidOut(kDeclared[17]),
                                             std::string(13, ' ') + "-- send a midi message"};
  std::vector<std::string> actual = lines(kMethodTableText);
  ASSERT_FALSE(actual.empty());
  EXPECT_EQ(actual.front().rfind("xtra Tonvik -- ", 0), 0u) << actual.front();
  EXPECT_GT(actual.front().size(), std::strlen("xtra Tonvik -- "));
  actual.erase(actual.begin());
  EXPECT_EQ(actual, expected);
}

TEST(MethodTableText, PadsCommentsToColumnFiftyExceptTheLongDeclaration) {
  for (const std::string& line : lines(kMethodTableText)) {
    const std::size_t comment = line.find(" -- ");
    const bool declaration = !line.empty() && line[0] != ' ' && line.rfind("--", 0) != 0;
    if (line.rfind("xtra", 0) == 0 || !declaration || comment == std::string::npos) continue;
    if (line.rfind("SetChannelFilter", 0) == 0) {
      EXPECT_GT(comment, kCommentColumn);
      EXPECT_EQ(line.substr(comment - 1, 4), "  --");
    } else {
      EXPECT_EQ(line.find("--"), kCommentColumn) << line;
    }
  }
}

TEST(MethodTableText, NumbersItsMethodsAsTheDispatcherExpects) {
  std::optional<director::MethodTable> table = director::parseMethodTable(kMethodTableText);
  ASSERT_TRUE(table.has_value());
  EXPECT_EQ(table->lingoName, "Tonvik");
  ASSERT_EQ(table->methods.size(), static_cast<std::size_t>(kMethodSendMessage) + 1);
  const std::pair<MethodSelector, const char*> numbered[] = {
      {kMethodNew, "new"},
      {kMethodInit, "Init"},
      {kMethodOpenInput, "OpenInput"},
      {kMethodSetChannelFilter, "SetChannelFilter"},
      {kMethodFlushInput, "FlushInput"},
      {kMethodGetOutputPorts, "GetOutputPorts"},
      {kMethodSendMessage, "SendMessage"},
  };
  for (const auto& [selector, name] : numbered) {
    EXPECT_EQ(table->methods[static_cast<std::size_t>(selector)].name, name);
  }
  EXPECT_EQ(table->methods[kMethodOpenInput].arguments.size(), 2u);
}

}  // namespace
