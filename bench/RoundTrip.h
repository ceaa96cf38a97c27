// What the round-trip benchmarks share: the note they send and how their samples are read.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "ValueStore.h"

namespace bench {

// [#noteOn, 1, 60, 100], the list SendMessage reads by position; the caller releases it.
inline LingoValue noteOnMessage(director::ValueStore& store) {
  LingoValue message = store.makeLinearList();
  for (LingoValue item : {store.makeSymbol("noteOn"), store.makeInteger(1), store.makeInteger(60),
                          store.makeInteger(100)}) {
    store.append(message, item);
    store.release(item);
  }
  return message;
}

// The sample below which `share` of the samples lie; reorders them.
inline double percentile(std::vector<double>& samples, double share) {
  const auto at = static_cast<std::size_t>(share * static_cast<double>(samples.size() - 1));
  std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(at),
                   samples.end());
  return samples[at];
}

}  // namespace bench
