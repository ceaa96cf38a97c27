// The Lingo method table that the host reads at registration, and the method numbers it gives
// the declared methods in table order.
#pragma once

#include <cstdint>

// Lines separated by one line feed, none after the last; NUL-terminated.
extern const char kMethodTableText[];

enum MethodSelector : std::int32_t {
  kMethodNew = 0,
  kMethodInit = 1,
  kMethodGetTime = 2,
  kMethodResetTimer = 3,
  kMethodGetInputPorts = 4,
  kMethodOpenInput = 5,
  kMethodCloseInput = 6,
  kMethodSetSystemFilter = 7,
  kMethodSetChannelFilter = 8,
  kMethodMessagesPending = 9,
  kMethodGetNextMessage = 10,
  kMethodGetPendingMessages = 11,
  kMethodInputOverflowed = 12,
  kMethodFlushInput = 13,
  kMethodGetOutputPorts = 14,
  kMethodOpenOutput = 15,
  kMethodCloseOutput = 16,
  kMethodSendMessage = 17,
};
