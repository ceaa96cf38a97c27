// Bounds the interpreter's recursion by what is left of the thread's stack, measured, rather
// than by a count alone: what one level costs depends on the compiler, the optimiser and the
// sanitizers, the space left does not.
#pragma once

#include <cstddef>

namespace tonvik {

// Whether this thread's stack is nearly used up: less than a reserve is left for the calls made
// without a check (built-ins, the Xtra, the MIDI system) and for unwinding an error. False on a
// thread whose stack bounds cannot be read.
bool stackNearlyUsedUp();

// Throws ScriptError(`what`) when stackNearlyUsedUp().
void checkStack(const char* what);

// How far this thread's stack may still grow before checkStack fails, in bytes; SIZE_MAX when
// its bounds are unknown.
std::size_t stackLeft();

}  // namespace tonvik
