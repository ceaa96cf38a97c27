#include "Failures.h"

namespace coremidi {

void Failures::failNext(midisystem::Failure failure, int count) {
  if (count > 0) pending_[static_cast<int>(failure)].fetch_add(count, std::memory_order_relaxed);
}

void Failures::clear() {
  for (auto& pending : pending_) pending.store(0, std::memory_order_relaxed);
}

bool Failures::consume(midisystem::Failure failure) {
  auto& pending = pending_[static_cast<int>(failure)];
  int left = pending.load(std::memory_order_relaxed);
  while (left > 0) {
    if (pending.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return true;
  }
  return false;
}

}  // namespace coremidi
