// Joining the pieces of system-exclusive transfers: no server needed.
#include "SysexJoiner.h"

#include <gtest/gtest.h>

#include <vector>

#include "JackTestSupport.h"

namespace jackmidi {
namespace {

using Bytes = std::vector<Byte>;
using jacktest::sysexOf;

// `stream` fed in pieces of `piece` bytes, as the MIDI system's transfers come.
std::vector<Bytes> joined(const Bytes& stream, std::size_t piece, std::size_t limit) {
  SysexJoiner joiner(limit);
  std::vector<Bytes> out;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    const std::size_t size = std::min(piece, stream.size() - at);
    joiner.feed(stream.data() + at, size, [&](const Byte* bytes, std::size_t length) {
      out.emplace_back(bytes, bytes + length);
    });
  }
  return out;
}

Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST(SysexJoiner, PiecesOfOneTransferBecomeOneMessage) {
  // Lengths around the 256-byte pieces, among them the lone F7 of 257 and 1025.
  for (const std::size_t length : {4u, 255u, 256u, 257u, 258u, 513u, 1025u, 20000u, 65536u}) {
    const Bytes message = sysexOf(length);
    EXPECT_EQ(joined(message, 256, 1 << 16), std::vector<Bytes>{message}) << length;
  }
}

TEST(SysexJoiner, Cases) {
  const Bytes a = sysexOf(300);
  const Bytes b = sysexOf(40);
  const Bytes cutOff(a.begin(), a.begin() + 200);  // F0 and data, no F7
  const Bytes stray = {0x01, 0x02, 0x90, 0x3C};
  struct Case {
    const char* what;
    Bytes stream;
    std::size_t piece;
    std::size_t limit;
    std::vector<Bytes> expected;
  };
  const Case cases[] = {
      {"two messages in one piece", concat({b, b}), 256, 1024, {b, b}},
      {"messages in pieces that straddle them", concat({a, b, a}), 100, 1024, {a, b, a}},
      {"a transfer cut off by the next one is dropped", concat({cutOff, b}), 64, 1024, {b}},
      {"a message over the limit goes in pieces of the limit",
       a,
       256,
       128,
       {Bytes(a.begin(), a.begin() + 128), Bytes(a.begin() + 128, a.begin() + 256),
        Bytes(a.begin() + 256, a.end())}},
      {"what an over-long message had not yet sent is dropped when cut off",
       concat({cutOff, b}),
       256,
       128,
       {Bytes(cutOff.begin(), cutOff.begin() + 128), b}},
      {"bytes outside a message pass as they came", concat({stray, b}), 256, 1024, {stray, b}},
      {"a lone F7 outside a message passes", Bytes{0xF7}, 256, 1024, {Bytes{0xF7}}},
  };
  for (const Case& c : cases) EXPECT_EQ(joined(c.stream, c.piece, c.limit), c.expected) << c.what;
}

TEST(SysexJoiner, ResetDropsTheMessageInProgress) {
  SysexJoiner joiner(1024);
  std::vector<Bytes> out;
  const auto collect = [&](const Byte* bytes, std::size_t length) {
    out.emplace_back(bytes, bytes + length);
  };
  const Bytes start = {0xF0, 0x7D, 0x01};
  joiner.feed(start.data(), start.size(), collect);
  EXPECT_TRUE(joiner.joining());
  joiner.reset();
  const Bytes rest = {0x02, 0xF7};
  joiner.feed(rest.data(), rest.size(), collect);
  EXPECT_EQ(out, std::vector<Bytes>{rest});  // stray now, passed as it came
  EXPECT_FALSE(joiner.joining());
}

}  // namespace
}  // namespace jackmidi
