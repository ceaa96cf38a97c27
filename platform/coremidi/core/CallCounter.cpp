#include "CallCounter.h"

#include <array>
#include <atomic>

namespace coremidi {
namespace {

// Counts only ever need to be exact once the counting threads are done, so relaxed suffices.
std::array<std::atomic<std::uint64_t>, kApiFunctionCount> counts_{};

constexpr std::array<const char*, kApiFunctionCount> names_ = {
#define COREMIDI_NAME_ENTRY(name) #name,
    COREMIDI_API_FUNCTIONS(COREMIDI_NAME_ENTRY)
#undef COREMIDI_NAME_ENTRY
};

}  // namespace

void countCall(ApiFunction function) {
  counts_[static_cast<int>(function)].fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t callsOf(ApiFunction function) {
  return counts_[static_cast<int>(function)].load(std::memory_order_relaxed);
}

const char* apiFunctionName(ApiFunction function) {
  return names_[static_cast<int>(function)];
}

void resetCalls() {
  for (auto& count : counts_) count.store(0, std::memory_order_relaxed);
}

}  // namespace coremidi
