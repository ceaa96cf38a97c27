#include "CMIDIXtraScript.h"

#include "PlatformInstance.h"

namespace {

CMIDIXtraScript* scriptOf(MoaObjectHeader* object) {
  return reinterpret_cast<CMIDIXtraScript*>(object);
}

void releaseHostInterfaces(CMIDIXtraScript* self) {
  if (self->valueInterface_ != nullptr) self->valueInterface_->Release();
  if (self->listInterface_ != nullptr) self->listInterface_->Release();
  self->valueInterface_ = nullptr;
  self->listInterface_ = nullptr;
}

}  // namespace

HostStatus CMIDIXtraScript_Create(MoaObjectHeader* object) {
  CMIDIXtraScript* self = scriptOf(object);
  self->valueInterface_ = nullptr;
  self->listInterface_ = nullptr;
  self->instance_ = nullptr;

  HostCallback* callback = object->callback_;
  void* valueInterface = nullptr;
  void* listInterface = nullptr;
  HostStatus status = callback->QueryInterface(&kIID_HostValueInterface, &valueInterface);
  self->valueInterface_ = static_cast<HostValueInterface*>(valueInterface);
  if (status == kHostOk) {
    status = callback->QueryInterface(&kIID_HostListInterface, &listInterface);
    self->listInterface_ = static_cast<HostListInterface*>(listInterface);
  }
  // The instance interns its symbols through the value interface as it is built, so it cannot
  // exist without both interfaces; the object stays, answering every call with nothing.
  if (status != kHostOk || self->valueInterface_ == nullptr || self->listInterface_ == nullptr) {
    releaseHostInterfaces(self);
    return status != kHostOk ? status : kHostErrNoInterface;
  }

  self->instance_ =
      createPlatformInstance(self->valueInterface_, self->listInterface_, object->allocator_);
  if (self->instance_ == nullptr) {
    releaseHostInterfaces(self);
    return kHostErrOutOfMemory;
  }
  return kHostOk;
}

void CMIDIXtraScript_Destroy(MoaObjectHeader* object) {
  CMIDIXtraScript* self = scriptOf(object);
  // The instance releases its symbol values through the value interface, so it goes first.
  delete self->instance_;
  self->instance_ = nullptr;
  releaseHostInterfaces(self);
}

HostStatus CMIDIXtraScript_CreateRecord(MoaObjectHeader* object, void** outRecord) {
  return createInterfaceRecord<CMIDIXtraScript_IMoaMmXScript>(object, outRecord);
}
