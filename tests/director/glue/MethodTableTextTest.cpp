// The message table the Xtra registers, line for line: its headings, declarations in the
// dispatcher's order, and comments laid out from column 50.
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "XtraMethodTable.h"

namespace {

constexpr std::size_t kCommentColumn = 49;  // zero-based: column 50

// Each line after the first: a declaration with the comment that follows it, or a heading or
// blank line (no comment).
struct Line {
  const char* text;
  const char* comment;
};

const Line kLines[] = {
    {"-- Construction and Initialisation:", nullptr},
    {"new object me", nullptr},
    {"Init object me", "prepare for operation, returns errors"},
    {"", nullptr},
    {"-- Timer:", nullptr},
    {"GetTime object me", "returns internal timer time in milliseconds"},
    {"ResetTimer object me", "resets internal timer to 0"},
    {"", nullptr},
    {"-- MIDI input:", nullptr},
    {"GetInputPorts object me", "returns a list of available MIDI input ports"},
    {"OpenInput object me, int portNumber, int bufSize",
     "begin MIDI input, 1 to count( GetInputPorts() )"},
    {"CloseInput object me", "finish MIDI input"},
    {"", nullptr},
    {"SetSystemFilter object me, any messageTypes", "filter system messages"},
    {"SetChannelFilter object me, any messageTypes, any channels", "filter channel messages"},
    {"", nullptr},
    {"MessagesPending object me", "returns true if the input queue contains messages"},
    {"GetNextMessage object me", "retrieve next message from the input queue"},
    {"GetPendingMessages object me", "returns a list of all pending messages"},
    {"InputOverflowed object me", "returns true if the input queue has overflowed"},
    {"FlushInput object me", "flush all pending messages from the input queue"},
    {"", nullptr},
    {"-- MIDI output:", nullptr},
    {"GetOutputPorts object me", "returns a list of available MIDI output ports"},
    {"OpenOutput object me, int portNumber", "begin MIDI output, 1 to count( GetOutputPorts() )"},
    {"CloseOutput object me", "finish MIDI output"},
    {"", nullptr},
    {"SendMessage object me, any message", nullptr},
    {"             -- send a midi message", nullptr},
};

// Comments start in column 50; a declaration too long for that is followed by two spaces.
std::string laidOut(const Line& line) {
  std::string text = line.text;
  if (line.comment == nullptr) return text;
  if (text.size() < kCommentColumn) {
    text.resize(kCommentColumn, ' ');
  } else {
    text += "  ";
  }
  return text + "-- " + line.comment;
}

TEST(MethodTableText, IsTheTableLineForLine) {
  std::istringstream text{std::string(kMethodTableText)};
  std::string first;
  std::getline(text, first);
  EXPECT_EQ(first.rfind("xtra Tonvik -- ", 0), 0u) << first;
  EXPECT_GT(first.size(), std::strlen("xtra Tonvik -- "));
  std::vector<std::string> actual, expected;
  for (std::string line; std::getline(text, line);) actual.push_back(line);
  for (const Line& line : kLines) expected.push_back(laidOut(line));
  EXPECT_EQ(actual, expected);
}

}  // namespace
