// Reads a fuzzer's bytes as a stream of small decisions (past the end every read answers 0), and
// ends the run with the name of a broken invariant, so that libFuzzer keeps the input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool empty() const { return at_ >= size_; }
  std::uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
  std::uint32_t u32() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | byte();
    return value;
  }
  // Up to `count` bytes, fewer at the end of the input.
  std::span<const std::uint8_t> bytes(std::size_t count) {
    const std::size_t taken = count < size_ - at_ ? count : size_ - at_;
    std::span<const std::uint8_t> span(data_ + at_, taken);
    at_ += taken;
    return span;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

namespace fuzzcheck {

inline void expect(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "fuzz invariant broken: %s\n", what);
    std::abort();
  }
}

}  // namespace fuzzcheck
