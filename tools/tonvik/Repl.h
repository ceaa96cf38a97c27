// The interactive message window: a prompt with line editing and history. A block (`if`,
// `repeat`, `on`) or an open bracket reads on until it is complete.
#pragma once

#include "Interpreter.h"

namespace tonvik {

// Returns the exit status once the user ends the input (Ctrl-D).
int runRepl(Interpreter& interpreter);

}  // namespace tonvik
