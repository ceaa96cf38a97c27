// The host's application-information interface: what product is running and which version.
#pragma once

#include <cstdint>

#include "HostTypes.h"

constexpr HostInterfaceId kIID_IMoaAppInfo{{0x7a1c0010u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};

// Information items, by the host's numbers.
enum MoaAppInfoItem : std::int32_t {
  kMoaAppInfoProductName = 5,
  kMoaAppInfoVersionString = 6,
};

class IMoaAppInfo : public IMoaUnknown {
 public:
  // Copies the item as a NUL-terminated string into buffer, truncated to bufferSize bytes.
  virtual HostStatus GetInfo(std::int32_t item, char* buffer, std::uint32_t bufferSize) = 0;

 protected:
  ~IMoaAppInfo() = default;
};
