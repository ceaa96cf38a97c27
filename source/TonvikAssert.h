// The Xtra's one assertion facility. It guards internal invariants only, never script input: a
// failure writes one line naming the expression, the function, the source file and the line, and
// ends the process.
#pragma once

[[noreturn]] void tonvikAssertionFailed(const char* expression, const char* function,
                                        const char* file, int line);

#ifdef __FILE_NAME__
#define TONVIK_ASSERT_FILE __FILE_NAME__
#else
#define TONVIK_ASSERT_FILE __FILE__
#endif

#define TONVIK_ASSERT(expression)                                                        \
  ((expression) ? static_cast<void>(0)                                                   \
                : tonvikAssertionFailed(#expression, __func__, TONVIK_ASSERT_FILE, __LINE__))
