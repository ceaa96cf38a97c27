// The registration class: an object with no state of its own whose interface record writes the
// Xtra's entries into the host's registry.
#pragma once

#include "MoaObject.h"
#include "MoaRegistry.h"
#include "XtraInterfaceRecord.h"

struct CMIDIXtraRegister {
  MoaObjectHeader header_;
};

HostStatus CMIDIXtraRegister_Create(MoaObjectHeader* object);
void CMIDIXtraRegister_Destroy(MoaObjectHeader* object);

class CMIDIXtraRegister_IMoaRegister final : public XtraInterfaceRecord<IMoaRegister> {
 public:
  using InterfaceType = IMoaRegister;
  using XtraInterfaceRecord::XtraInterfaceRecord;

  HostStatus Register(IMoaCache* cache, IMoaDict* xtraDict) override;
};

HostStatus CMIDIXtraRegister_CreateRecord(MoaObjectHeader* object, void** outRecord);
