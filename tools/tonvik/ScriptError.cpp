#include "ScriptError.h"

namespace tonvik {

namespace {
const ScriptError kOutOfMemory("Out of memory");
}  // namespace

ScriptError outOfMemoryError(int line) noexcept {
  ScriptError error(kOutOfMemory);
  error.setLine(line);
  return error;
}

}  // namespace tonvik
