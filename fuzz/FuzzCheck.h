// A broken fuzz invariant ends the run with its name, so that libFuzzer keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzzcheck {

[[noreturn]] inline void fail(const char* what) {
  std::fprintf(stderr, "fuzz invariant broken: %s\n", what);
  std::abort();
}

inline void expect(bool holds, const char* what) {
  if (!holds) fail(what);
}

}  // namespace fuzzcheck
