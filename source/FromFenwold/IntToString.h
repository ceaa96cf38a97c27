// Decimal text of a 32-bit integer, without allocation.
#pragma once

#include <cstdint>

class IntToString {
 public:
  explicit IntToString(std::int32_t value);
  const char* c_str() const { return s_; }

 private:
  // Room for any "%d" of a 32-bit value with its terminator, and more.
  static constexpr int kBufferSize = 34;
  char s_[kBufferSize];
};
