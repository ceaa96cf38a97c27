#include "IntToString.h"

#include <cstddef>
#include <cstdio>

#include "TonvikAssert.h"

IntToString::IntToString(std::int32_t value) {
  const std::size_t sprintflen = std::snprintf(s_, sizeof(s_), "%d", static_cast<int>(value));
  TONVIK_ASSERT(sprintflen < sizeof(s_));
}
