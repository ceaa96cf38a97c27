// What the registration and scripting interface records share: an operation table, the object
// they belong to and a reference count of their own, with every reference to the record also
// held on the object.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>

#include "HostTypes.h"
#include "InterfaceRecordMemory.h"
#include "MoaObject.h"

template <class Interface>
class XtraInterfaceRecord : public Interface {
 public:
  explicit XtraInterfaceRecord(MoaObjectHeader* object) : object_(object), referenceCount_(1) {}

  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override {
    return object_->unknown_->QueryInterface(iid, out);
  }

  std::uint32_t AddRef() override {
    object_->unknown_->AddRef();
    return static_cast<std::uint32_t>(referenceCount_.fetch_add(1) + 1);
  }

  std::uint32_t Release() override {
    // The record may be gone before the object's last reference is given back.
    MoaObjectHeader* object = object_;
    const std::int32_t count = referenceCount_.fetch_sub(1) - 1;
    if (count == 0) {
      hostFree(this, object->allocator_);
      --liveInterfaceRecordCount_;
      object->unknown_->Release();
    }
    object->unknown_->Release();
    return static_cast<std::uint32_t>(count);
  }

 protected:
  ~XtraInterfaceRecord() = default;

  MoaObjectHeader* object_;
  std::atomic<std::int32_t> referenceCount_;
};

// Interface record creation for any record class built on XtraInterfaceRecord.
template <class Record>
HostStatus createInterfaceRecord(MoaObjectHeader* object, void** outRecord) {
  void* block = hostAllocate(sizeof(Record), object->allocator_);
  if (block == nullptr) {
    *outRecord = nullptr;
    return kHostErrOutOfMemory;
  }
  Record* record = new (block) Record(object);
  // One reference for the record's lifetime, one for the count of 1 it starts with.
  object->unknown_->AddRef();
  object->unknown_->AddRef();
  ++liveInterfaceRecordCount_;
  *outRecord = static_cast<typename Record::InterfaceType*>(record);
  return kHostOk;
}
