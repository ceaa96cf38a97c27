#include "Limits.h"

#include <string>

#include "ScriptError.h"

namespace tonvik {

namespace {
ValueLimits currentLimits;
}  // namespace

const ValueLimits& valueLimits() {
  return currentLimits;
}

void setValueLimits(const ValueLimits& limits) {
  currentLimits = limits;
  if (currentLimits.maxStringLength > kMaxLingoCount)
    currentLimits.maxStringLength = kMaxLingoCount;
}

void checkStringLength(std::size_t length) {
  if (length > currentLimits.maxStringLength) {
    throw ScriptError("String too long: " + std::to_string(length) + " bytes (at most " +
                      std::to_string(currentLimits.maxStringLength) + ")");
  }
}

std::int32_t lingoCount(std::size_t size, std::string_view what) {
  if (size > kMaxLingoCount) {
    throw ScriptError(std::string(what) + ": " + std::to_string(size) + " is more than " +
                      std::to_string(kMaxLingoCount) + ", the largest Lingo integer");
  }
  return static_cast<std::int32_t>(size);
}

}  // namespace tonvik
