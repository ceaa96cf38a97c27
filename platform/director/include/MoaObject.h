// The host's side of every Xtra object: the header the host fills in before it asks the Xtra to
// create the object, and the signatures of the creation and destruction operations.
#pragma once

#include <cstdint>

#include "HostInterfaces.h"
#include "HostTypes.h"

// The first bytes of every Xtra object. The host allocates the object with the size the Xtra
// declares, fills this header and only then calls the object's creation.
struct MoaObjectHeader {
  // The object's own query, add-reference and release, kept by the host: the object lives until
  // the last reference handed out through it or through its interface records is given back.
  IMoaUnknown* unknown_;
  HostCallback* callback_;
  HostAllocator* allocator_;
};
static_assert(sizeof(MoaObjectHeader) == 24, "the object header is 24 bytes");

using XtraObjectCreate = HostStatus (*)(MoaObjectHeader* object);
using XtraObjectDestroy = void (*)(MoaObjectHeader* object);
// Builds an interface record for the object and hands it out with one reference.
using XtraRecordCreate = HostStatus (*)(MoaObjectHeader* object, void** outRecord);
