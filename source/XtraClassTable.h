// The Xtra's classes as the host learns them: each with its identity, its object form and its
// one interface, in a fixed order, and the walk through which the exports read them.
#pragma once

#include <cstdint>

#include "HostTypes.h"
#include "MoaObject.h"

extern const HostInterfaceId kRegistrationClassId;
extern const HostInterfaceId kScriptingClassId;

constexpr std::uint32_t kXtraClassVersion = 0x01000042u;
constexpr std::uint32_t kXtraInterfaceVersion = 0x01000042u;

// A visitor returns true to stop the walk.
using XtraClassVisitor = bool (*)(const HostInterfaceId* classId, std::uint32_t classVersion,
                                  std::uint32_t objectSize, XtraObjectCreate create,
                                  XtraObjectDestroy destroy, void* context);
using XtraInterfaceVisitor = bool (*)(const HostInterfaceId* classId, std::uint32_t classVersion,
                                      const HostInterfaceId* interfaceId,
                                      std::uint32_t interfaceVersion, XtraRecordCreate createRecord,
                                      void* context);

// Visits the class with the given ID, or every class when classId is null; either visitor may be
// null.
void walkClassTable(const HostInterfaceId* classId, XtraClassVisitor classVisitor,
                    XtraInterfaceVisitor interfaceVisitor, void* context);
