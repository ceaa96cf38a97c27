// Scripts run on a thread of their own whose stack is large and of a known size, so that every
// script within the interpreter's limits (Limits.h) runs to its end whatever `ulimit -s` says
// and however large a build's stack frames are; past the limits StackLimit.h still stops it with
// a script error before the stack is used up.
#pragma once

#include <cstddef>
#include <functional>

namespace tonvik {

#if defined(__SANITIZE_ADDRESS__)
#define TONVIK_ADDRESS_SANITIZER 1
#elif defined(__SANITIZE_THREAD__)
#define TONVIK_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TONVIK_ADDRESS_SANITIZER 1
#elif __has_feature(thread_sanitizer)
#define TONVIK_THREAD_SANITIZER 1
#endif
#endif

// Under the sanitizers the deepest scripts within the limits (below) stop at the stack check.
#if defined(TONVIK_ADDRESS_SANITIZER)
// AddressSanitizer gives up cleaning the stack after an exception thrown more than 64 MB deep
// and then reports errors that are not there, so a script error must be thrown above that.
constexpr std::size_t kScriptStackBytes = std::size_t{56} << 20;
#elif defined(TONVIK_THREAD_SANITIZER)
// ThreadSanitizer records the calls in progress at every allocation and aborts past 65 536 of
// them, which a script reaches in about 10 MB of its stack.
constexpr std::size_t kScriptStackBytes = std::size_t{4} << 20;
#else
// 500 handler calls, each with expressions nested as deep as the parser allows, need about
// 43 MB in a release build (and more than 60 MB under AddressSanitizer). The pages are only
// reserved until a script reaches them.
constexpr std::size_t kScriptStackBytes = std::size_t{256} << 20;
#endif

// Runs `body` on a new thread with a stack of `stackBytes` and returns its result; runs it on
// this thread instead when no such thread can be made (the address space may be limited).
// `body` must not throw.
int runWithStack(std::size_t stackBytes, const std::function<int()>& body);

}  // namespace tonvik
