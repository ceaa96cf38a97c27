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
    // Relaxed: only this side stores head_. Acquire: the consumer has finished reading the bytes
    // it gave back before they are written again.
    return mask_ + 1 -
           (head_.load(std::memory_order_relaxed) - tail_.load(std::memory_order_acquire));
  }
  // Two pieces published at once. The caller checked writeSpace.
  void writeTwo(const void* first, std::size_t firstSize, const void* second,
                std::size_t secondSize) {
    // Relaxed: only this side stores head_.
    const std::size_t head = head_.load(std::memory_order_relaxed);
    copyIn(head, static_cast<const unsigned char*>(first), firstSize);
    copyIn(head + firstSize, static_cast<const unsigned char*>(second), secondSize);
    // Release: the bytes are in place before the consumer can see them.
    head_.store(head + firstSize + secondSize, std::memory_order_release);
  }

  // Consumer side.
  std::size_t readSpace() const {
    // Acquire: the bytes the producer published are visible before they are read. Relaxed: only
    // this side stores tail_.
    return head_.load(std::memory_order_acquire) - tail_.load(std::memory_order_relaxed);
  }
  // The caller checked readSpace.
  void peek(void* bytes, std::size_t size, std::size_t skip = 0) const {
    // Relaxed: only this side stores tail_.
    copyOut(tail_.load(std::memory_order_relaxed) + skip, static_cast<unsigned char*>(bytes), size);
  }
  void advance(std::size_t size) {
    // Release: the bytes are read before the producer may write over them.
    tail_.store(tail_.load(std::memory_order_relaxed) + size, std::memory_order_release);
  }

 private:
  // A cache line: each index on one of its own (the ring's size is rounded up to whole lines, so
  // nothing after it shares tail_'s), so that the two threads' stores do not take the line from
  // each other at every record. std::hardware_destructive_interference_size would vary with the
  // compiler's flags.
  static constexpr std::size_t kCacheLine = 64;

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

  // Read by both sides, written by neither after construction.
  std::unique_ptr<unsigned char[]> data_;
  const std::size_t mask_;
  alignas(kCacheLine) std::atomic<std::size_t> head_{0};  // bytes ever written; producer stores
  alignas(kCacheLine) std::atomic<std::size_t> tail_{0};  // bytes ever read; consumer stores
};

}  // namespace jackmidi
