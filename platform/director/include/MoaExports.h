// The six entry points through which the host loads an Xtra bundle, and the class-information
// records that tell the host which classes and interfaces the bundle has.
#pragma once

#include <cstdint>

#include "HostInterfaces.h"
#include "HostTypes.h"
#include "MoaObject.h"

// The published COM class-factory identifier {00000001-0000-0000-C000-000000000046}, as its
// bytes read in four little-endian words.
constexpr HostInterfaceId kIID_ClassFactory{{0x00000001u, 0x00000000u, 0x000000C0u, 0x46000000u}};

// The value a class record carries in its last field.
constexpr std::uint32_t kClassRecordMarker = 1;

// One record of the class information, 40 bytes: a class record (interfaceId is the class-factory
// identifier, last field kClassRecordMarker) or an interface record (interfaceId and version of
// one of the class's interfaces). A record with null identifiers ends the array.
struct XtraClassInfo {
  HostInterfaceId classId;
  std::uint32_t classVersion;
  HostInterfaceId interfaceId;
  std::uint32_t versionOrMarker;
};
static_assert(sizeof(XtraClassInfo) == 40, "a class information record is 40 bytes");

using PpcSetFileRefFunction = void (*)(std::uint32_t fileRef);
using DllGetClassObjectFunction = HostStatus (*)(const HostInterfaceId* classId,
                                                 const HostInterfaceId* interfaceId, void** out);
using DllCanUnloadNowFunction = HostStatus (*)();
using DllGetClassFormFunction = HostStatus (*)(const HostInterfaceId* classId,
                                               std::uint32_t* outObjectSize,
                                               XtraObjectCreate* outCreate,
                                               XtraObjectDestroy* outDestroy);
using DllGetInterfaceFunction = HostStatus (*)(MoaObjectHeader* object,
                                               const HostInterfaceId* classId,
                                               const HostInterfaceId* interfaceId,
                                               void** outRecord);
// The array comes from the allocator; the host frees it with the allocator's FreeBlock.
using DllGetClassInfoFunction = HostStatus (*)(HostAllocator* allocator, XtraClassInfo** outInfo);

#define TONVIK_XTRA_EXPORT extern "C" __attribute__((visibility("default")))

TONVIK_XTRA_EXPORT void ppcSetFileRef(std::uint32_t fileRef);
TONVIK_XTRA_EXPORT HostStatus DllGetClassObject(const HostInterfaceId* classId,
                                                const HostInterfaceId* interfaceId, void** out);
TONVIK_XTRA_EXPORT HostStatus DllCanUnloadNow();
TONVIK_XTRA_EXPORT HostStatus DllGetClassForm(const HostInterfaceId* classId,
                                              std::uint32_t* outObjectSize,
                                              XtraObjectCreate* outCreate,
                                              XtraObjectDestroy* outDestroy);
TONVIK_XTRA_EXPORT HostStatus DllGetInterface(MoaObjectHeader* object,
                                              const HostInterfaceId* classId,
                                              const HostInterfaceId* interfaceId, void** outRecord);
TONVIK_XTRA_EXPORT HostStatus DllGetClassInfo(HostAllocator* allocator, XtraClassInfo** outInfo);
