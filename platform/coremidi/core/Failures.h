// Injected failures: each kind fails as many of its next calls as it was told to.
#pragma once

#include <array>
#include <atomic>

#include "MidiSystemControl.h"

namespace coremidi {

class Failures {
 public:
  void failNext(midisystem::Failure failure, int count);
  void clear();
  // True, and one fewer pending, if this call is to fail.
  bool consume(midisystem::Failure failure);

 private:
  static constexpr int kKinds = static_cast<int>(midisystem::Failure::SysexComplete) + 1;
  // Calls may come from any thread; each count is its own atomic, no ordering with other data.
  std::array<std::atomic<int>, kKinds> pending_{};
};

}  // namespace coremidi
