// Bounds the interpreter's recursion by what is left of the thread's stack, measured, rather
// than by a count alone: what one level costs depends on the compiler, the optimiser and the
// sanitizers, the space left does not.
#pragma once

#include <cstdint>

namespace tonvik {

// The lowest address this thread's stack may grow to before a check fails: its real bottom plus
// a reserve for the calls made without a check (built-ins, the Xtra, the MIDI system) and for
// unwinding the error. 0 on a thread whose stack bounds cannot be read, so no check fails there.
std::uintptr_t stackFloor();

// Whether the caller has gone below `floor`, this thread's stackFloor(). The frame address, not
// a local's: under AddressSanitizer locals may live on a separate heap.
inline bool belowStackFloor(std::uintptr_t floor) {
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < floor;
}

// Throws ScriptError(`what`) when the caller has gone below this thread's stack floor.
void checkStack(const char* what);

}  // namespace tonvik
