#include "TonvikAssert.h"

#include <cstdio>
#include <cstdlib>

void tonvikAssertionFailed(const char* expression, const char* function, const char* file,
                           int line) {
  std::fprintf(stderr, "Assertion failed: %s, function %s, file %s, line %d.\n", expression,
               function, file, line);
  std::fflush(stderr);
  std::abort();
}
