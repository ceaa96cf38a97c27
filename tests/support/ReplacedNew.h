// The replaceable operator new and delete over malloc and free, with two ways to make them fail
// (std::bad_alloc), so that running out of memory can be met on purpose, in every build: under
// AddressSanitizer, whose own allocator aborts instead of failing, too. Include it in exactly one
// source file of a binary. Every form is replaced, so that no block is made by one allocator and
// freed by the other.
#pragma once

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace replacednew {

// Bytes held through operator new now.
inline std::atomic<std::size_t> heldBytes{0};
// 0: nothing fails; else every allocation of at least this many bytes fails (1: all of them).
inline std::atomic<std::size_t> failFrom{0};
// 0: nothing fails; else an allocation fails that would hold more than this many bytes.
inline std::atomic<std::size_t> heldLimit{0};

// Relaxed throughout: the counters order nothing, and the binaries that use them allocate from
// one thread while they are set.
inline void* allocate(std::size_t size) noexcept {
  std::size_t from = failFrom.load(std::memory_order_relaxed);
  if (from != 0 && size >= from) return nullptr;
  std::size_t limit = heldLimit.load(std::memory_order_relaxed);
  if (limit != 0 && heldBytes.load(std::memory_order_relaxed) + size > limit) return nullptr;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) {
    heldBytes.fetch_add(malloc_usable_size(block), std::memory_order_relaxed);
  }
  return block;
}

// Not inlined into a caller, where the compiler would see a block from operator new reach free.
[[gnu::noinline]] inline void release(void* block) noexcept {
  if (block == nullptr) return;
  heldBytes.fetch_sub(malloc_usable_size(block), std::memory_order_relaxed);
  std::free(block);
}

}  // namespace replacednew

void* operator new(std::size_t size) {
  if (void* block = replacednew::allocate(size)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return replacednew::allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return replacednew::allocate(size);
}
void operator delete(void* block) noexcept {
  replacednew::release(block);
}
void operator delete[](void* block) noexcept {
  replacednew::release(block);
}
void operator delete(void* block, std::size_t) noexcept {
  replacednew::release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  replacednew::release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  replacednew::release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  replacednew::release(block);
}
