// The built-in functions that need nothing but their arguments: list operations, type tests
// and conversions. Functions that need the interpreter's state (`new`, `wait`) live there.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "Value.h"

namespace tonvik {

struct Builtin {
  std::string_view name;
  int minArgs;
  int maxArgs;
  Value (*call)(const std::vector<Value>& args);
};

std::span<const Builtin> listBuiltins();
std::span<const Builtin> valueBuiltins();

// Looked up ignoring case; null if there is no such built-in.
const Builtin* findBuiltin(std::string_view name);

}  // namespace tonvik
