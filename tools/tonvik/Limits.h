// The interpreter's limits in one place. Each turns what would exhaust the stack or the memory
// into a script error that names it; docs/reliability.md lists them for users.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace tonvik {

// Handler calls in progress at once.
constexpr int kMaxCallDepth = 500;
// Parentheses, brackets, unary operators and blocks written inside one another.
constexpr int kMaxSyntaxNesting = 200;
// A list handed to an Xtra becomes host values by recursion; the Xtra reads nothing deeper.
constexpr int kMaxXtraListNesting = 100;
// Lingo counts lengths, counts and positions in 32-bit integers.
constexpr std::size_t kMaxLingoCount = std::numeric_limits<std::int32_t>::max();

struct ValueLimits {
  // Bytes in one string, checked before the string is made.
  std::size_t maxStringLength = kMaxLingoCount;
  // Items `setAt` may grow a linear list to, so that a stray index cannot exhaust memory.
  std::size_t maxListGrowth = std::size_t{1} << 24;
};

// Process-wide. Set them before any script runs (the fuzzer lowers them); lengths above
// kMaxLingoCount are taken as kMaxLingoCount.
const ValueLimits& valueLimits();
void setValueLimits(const ValueLimits& limits);

// A script error "String too long: N bytes (at most M)" when a string of `length` bytes would
// break the limit; called before the string is made.
void checkStringLength(std::size_t length);

// A size as a Lingo integer, or a script error "WHAT: ... more than 2147483647 ..." when it
// does not fit.
std::int32_t lingoCount(std::size_t size, std::string_view what);

}  // namespace tonvik
