// The befriended name: lets unit tests and fuzz targets see what a script cannot, the ring and
// its indices.
#pragma once

#include <cstdint>

#include "TonvikBase.h"

class TonvikBaseInternals {
 public:
  static std::uint32_t size(const TonvikBase& base) { return base.inputQueueSize_; }
  static const std::uint8_t* ring(const TonvikBase& base) { return base.inputQueue_; }
  static std::uint32_t writeIndex(const TonvikBase& base) { return base.inputWriteIndex_.load(); }
  static std::uint32_t readIndex(const TonvikBase& base) { return base.inputReadIndex_.load(); }
};
