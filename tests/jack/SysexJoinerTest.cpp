// Joining the pieces of system-exclusive transfers: no server needed.
#include "SysexJoiner.h"

#include <gtest/gtest.h>

#include <vector>

#include "JackTestSupport.h"

namespace jackmidi {
namespace {

using Bytes = std::vector<Byte>;
using jacktest::sysexOf;

Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST(SysexJoiner, Cases) {
  const Bytes a = sysexOf(300);
  const Bytes b = sysexOf(40);
  const Bytes cutOff(a.begin(), a.begin() + 200);  // F0 and data, no F7
  const Bytes stray = {0x01, 0x02, 0x90, 0x3C};
  struct Case {
    const char* what;
    Bytes stream;
    std::size_t piece;  // fed in pieces of this many bytes, as the MIDI system's transfers come
    std::size_t limit;
    std::vector<Bytes> expected;
    std::size_t resetAfter = 0;  // the joiner is reset once this many bytes went in, if not 0
  };
  const Case cases[] = {
      {"a piece that is a lone F7 ends its message", sysexOf(257), 256, 1024, {sysexOf(257)}},
      {"a message that ends with its piece", sysexOf(512), 256, 1024, {sysexOf(512)}},
      {"a message of exactly the limit is whole", sysexOf(128), 256, 128, {sysexOf(128)}},
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
      {"a reset drops the message in progress: what follows is outside it",
       Bytes{0xF0, 0x7D, 0x01, 0x02, 0x03},
       3,
       1024,
       {Bytes{0x02, 0x03}},
       3},
  };
  for (const Case& c : cases) {
    SysexJoiner joiner(c.limit);
    std::vector<Bytes> out;
    for (std::size_t at = 0; at < c.stream.size(); at += c.piece) {
      if (at != 0 && at == c.resetAfter) joiner.reset();
      joiner.feed(
          c.stream.data() + at, std::min(c.piece, c.stream.size() - at),
          [&](const Byte* bytes, std::size_t size) { out.emplace_back(bytes, bytes + size); });
    }
    EXPECT_EQ(out, c.expected) << c.what;
  }
}

}  // namespace
}  // namespace jackmidi
