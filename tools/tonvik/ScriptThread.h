// Scripts run on a thread of their own whose stack is large and of a known size, so that every
// script within the interpreter's limits (Limits.h) runs to its end whatever `ulimit -s` says
// and however large a build's stack frames are; past the limits StackLimit.h still stops it with
// a script error before the stack is used up.
#pragma once

#include <cstddef>
#include <functional>

namespace tonvik {

// 500 handler calls, each with expressions nested as deep as the parser allows, need about
// 50 MB in a release build and 130 MB under AddressSanitizer. The pages are only reserved until
// a script reaches them.
constexpr std::size_t kScriptStackBytes = std::size_t{256} << 20;

// Runs `body` on a new thread with a stack of `stackBytes` and returns its result; runs it on
// this thread instead when no such thread can be made (the address space may be limited).
// `body` must not throw.
int runWithStack(std::size_t stackBytes, const std::function<int()>& body);

}  // namespace tonvik
