// The Xtra's classes as the host learns them: each with its identity, its object form and its
// one interface, in a fixed order. The exports read them with a plain loop.
#pragma once

#include <cstdint>
#include <span>

#include "HostTypes.h"
#include "MoaObject.h"

extern const HostInterfaceId kRegistrationClassId;
extern const HostInterfaceId kScriptingClassId;

constexpr std::uint32_t kXtraClassVersion = 0x01000042u;
constexpr std::uint32_t kXtraInterfaceVersion = 0x01000042u;

struct XtraClass {
  const HostInterfaceId* classId;
  std::uint32_t classVersion;
  std::uint32_t objectSize;
  XtraObjectCreate create;
  XtraObjectDestroy destroy;
  const HostInterfaceId* interfaceId;
  std::uint32_t interfaceVersion;
  XtraRecordCreate createRecord;
};

// The registration class, then the scripting class.
std::span<const XtraClass> xtraClasses();
