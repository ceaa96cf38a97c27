// A single-producer single-consumer byte ring with atomic indices, instead of jack_ringbuffer:
// the same idea, but visible to the thread sanitizer, which cannot see libjack's own barriers.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>

namespace jackmidi {

class ByteRing {
 public:
  // capacity must be a power of two.
  explicit ByteRing(std::size_t capacity)
      : data_(std::make_unique<unsigned char[]>(capacity)), mask_(capacity - 1) {}

  // Producer side.
  std::size_t writeSpace() const {
    // Acquire: the consumer has finished reading the bytes it gave back.
    return mask_ + 1 -
           (head_.load(std::memory_order_relaxed) - tail_.load(std::memory_order_acquire));
  }
  // Two pieces published at once. The caller checked writeSpace.
  void writeTwo(const void* first, std::size_t firstSize, const void* second,
                std::size_t secondSize) {
    const std::size_t head = head_.load(std::memory_order_relaxed);
    copyIn(head, static_cast<const unsigned char*>(first), firstSize);
    copyIn(head + firstSize, static_cast<const unsigned char*>(second), secondSize);
    // Release: the bytes are in place before the consumer can see them.
    head_.store(head + firstSize + secondSize, std::memory_order_release);
  }

  // Consumer side.
  std::size_t readSpace() const {
    return head_.load(std::memory_order_acquire) - tail_.load(std::memory_order_relaxed);
  }
  // The caller checked readSpace.
  void peek(void* bytes, std::size_t size, std::size_t skip = 0) const {
    copyOut(tail_.load(std::memory_order_relaxed) + skip, static_cast<unsigned char*>(bytes), size);
  }
  void advance(std::size_t size) {
    tail_.store(tail_.load(std::memory_order_relaxed) + size, std::memory_order_release);
  }

 private:
  void copyIn(std::size_t at, const unsigned char* from, std::size_t size) {
    const std::size_t start = at & mask_;
    const std::size_t first = std::min(size, mask_ + 1 - start);
    if (first > 0) std::memcpy(data_.get() + start, from, first);
    if (size > first) std::memcpy(data_.get(), from + first, size - first);
  }
  void copyOut(std::size_t at, unsigned char* to, std::size_t size) const {
    const std::size_t start = at & mask_;
    const std::size_t first = std::min(size, mask_ + 1 - start);
    if (first > 0) std::memcpy(to, data_.get() + start, first);
    if (size > first) std::memcpy(to + first, data_.get(), size - first);
  }

  std::unique_ptr<unsigned char[]> data_;
  const std::size_t mask_;
  std::atomic<std::size_t> head_{0};  // bytes ever written; only the producer stores it
  std::atomic<std::size_t> tail_{0};  // bytes ever read; only the consumer stores it
};

}  // namespace jackmidi
