// The scripting object the host creates for every Lingo `new` of the Xtra, and its scripting
// interface record, whose Call runs the Lingo methods on the object's instance.
#pragma once

#include <cstdint>

#include "HostInterfaces.h"
#include "MoaObject.h"
#include "MoaScripting.h"
#include "TonvikBase.h"
#include "XtraInterfaceRecord.h"

// Lives in a block the host allocated and zero-filled with the header already in place; the
// fields after the header are the Xtra's.
struct CMIDIXtraScript {
  MoaObjectHeader header_;
  HostValueInterface* valueInterface_;
  HostListInterface* listInterface_;
  TonvikBase* instance_;  // owned; null when creation could not build it
};

HostStatus CMIDIXtraScript_Create(MoaObjectHeader* object);
void CMIDIXtraScript_Destroy(MoaObjectHeader* object);

class CMIDIXtraScript_IMoaMmXScript final : public XtraInterfaceRecord<IMoaMmXScript> {
 public:
  using InterfaceType = IMoaMmXScript;
  using XtraInterfaceRecord::XtraInterfaceRecord;

  HostStatus Call(MoaMmCallInfo* callInfo) override;

 private:
  CMIDIXtraScript* script() const { return reinterpret_cast<CMIDIXtraScript*>(object_); }
};

HostStatus CMIDIXtraScript_CreateRecord(MoaObjectHeader* object, void** outRecord);
