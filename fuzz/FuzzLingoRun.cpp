// The message window's interpreter on arbitrary text, parsed and run. Loops end at a step and
// time budget, text and lists are held small, and this target's operator new refuses to hold
// more than a few megabytes, so every input ends, often with "Out of memory". A script error is
// the only failure allowed; once the interpreter is gone no list may be left.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "Container.h"
#include "FuzzInput.h"
#include "Interpreter.h"
#include "Limits.h"
#include "ReplacedNew.h"
#include "ScriptError.h"

namespace {

constexpr std::uint64_t kStepBudget = 5000;
constexpr std::chrono::milliseconds kTimeBudget{2000};
constexpr std::size_t kMemoryBudget = std::size_t{64} << 20;
constexpr tonvik::ValueLimits kSmallValues{.maxStringLength = 1 << 14, .maxListGrowth = 1 << 8};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tonvik::setValueLimits(kSmallValues);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::size_t listsBefore = tonvik::liveContainerCount();
  {
    std::ostream nowhere(nullptr);
    tonvik::Interpreter interpreter(nowhere);
    interpreter.setStepLimit(kStepBudget);
    interpreter.setTimeLimit(kTimeBudget);
    interpreter.setRunLoopStep([](std::chrono::milliseconds) {});
    replacednew::heldLimit.store(
        replacednew::heldBytes.load(std::memory_order_relaxed) + kMemoryBudget,
        std::memory_order_relaxed);
    try {
      interpreter.run(text);
    } catch (const tonvik::ScriptError&) {
    }
    // The interpreter goes with the budget still in force: letting go must need no memory.
  }
  replacednew::heldLimit.store(0, std::memory_order_relaxed);
  fuzzcheck::expect(tonvik::liveContainerCount() == listsBefore,
                    "every list is freed once the interpreter is gone");
  return 0;
}
