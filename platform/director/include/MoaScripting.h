// The scripting interface through which the host runs an Xtra's Lingo methods.
#pragma once

#include <cstdint>

#include "HostTypes.h"
#include "LingoValue.h"

constexpr HostInterfaceId kIID_IMoaMmXScript{{0x7a1c0013u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};

// One Lingo method call. Fields are in the host's order, naturally aligned for 64 bits.
struct MoaMmCallInfo {
  void* callerReserved;         // the host's; an Xtra never reads it
  std::int32_t methodSelector;  // the method's number in the message table, `new` being 0
  LingoValue resultValue;       // the method may fill it; the host owns it after the call
  std::int32_t argumentCount;   // `me` included; the host supplies every declared argument
  LingoValue* arguments;        // element 0 is `me`, then the declared arguments in order
};

class IMoaMmXScript : public IMoaUnknown {
 public:
  virtual HostStatus Call(MoaMmCallInfo* callInfo) = 0;

 protected:
  ~IMoaMmXScript() = default;
};
