#include "MoaExports.h"

#include "InterfaceRecordMemory.h"
#include "XtraClassTable.h"

namespace {

// Kept for the host's sake; nothing reads it.
std::uint32_t hostFileRef_ = 0;

struct ClassFormQuery {
  std::uint32_t* objectSize;
  XtraObjectCreate* create;
  XtraObjectDestroy* destroy;
  bool found;
};

struct InterfaceQuery {
  const HostInterfaceId* interfaceId;
  XtraRecordCreate createRecord;
};

struct ClassInfoWriter {
  XtraClassInfo* next;
};

bool countClass(const HostInterfaceId*, std::uint32_t, std::uint32_t, XtraObjectCreate,
                XtraObjectDestroy, void* context) {
  ++*static_cast<std::uint32_t*>(context);
  return false;
}

bool countInterface(const HostInterfaceId*, std::uint32_t, const HostInterfaceId*, std::uint32_t,
                    XtraRecordCreate, void* context) {
  ++*static_cast<std::uint32_t*>(context);
  return false;
}

bool writeClassRecord(const HostInterfaceId* classId, std::uint32_t classVersion, std::uint32_t,
                      XtraObjectCreate, XtraObjectDestroy, void* context) {
  XtraClassInfo* record = static_cast<ClassInfoWriter*>(context)->next++;
  record->classId = *classId;
  record->classVersion = classVersion;
  record->interfaceId = kIID_ClassFactory;
  record->versionOrMarker = kClassRecordMarker;
  return false;
}

bool writeInterfaceRecord(const HostInterfaceId* classId, std::uint32_t classVersion,
                          const HostInterfaceId* interfaceId, std::uint32_t interfaceVersion,
                          XtraRecordCreate, void* context) {
  XtraClassInfo* record = static_cast<ClassInfoWriter*>(context)->next++;
  record->classId = *classId;
  record->classVersion = classVersion;
  record->interfaceId = *interfaceId;
  record->versionOrMarker = interfaceVersion;
  return false;
}

}  // namespace

void ppcSetFileRef(std::uint32_t fileRef) {
  hostFileRef_ = fileRef;
}

HostStatus DllGetClassObject(const HostInterfaceId*, const HostInterfaceId*, void**) {
  return kHostErrNoClass;
}

HostStatus DllCanUnloadNow() {
  return liveInterfaceRecordCount_ != 0 ? kHostErrCannotUnload : kHostOk;
}

HostStatus DllGetClassForm(const HostInterfaceId* classId, std::uint32_t* outObjectSize,
                           XtraObjectCreate* outCreate, XtraObjectDestroy* outDestroy) {
  ClassFormQuery query{outObjectSize, outCreate, outDestroy, false};
  walkClassTable(
      classId,
      [](const HostInterfaceId*, std::uint32_t, std::uint32_t objectSize, XtraObjectCreate create,
         XtraObjectDestroy destroy, void* context) {
        auto* found = static_cast<ClassFormQuery*>(context);
        *found->objectSize = objectSize;
        *found->create = create;
        *found->destroy = destroy;
        found->found = true;
        return true;
      },
      nullptr, &query);
  return query.found ? kHostOk : kHostErrNoClass;
}

HostStatus DllGetInterface(MoaObjectHeader* object, const HostInterfaceId* classId,
                           const HostInterfaceId* interfaceId, void** outRecord) {
  InterfaceQuery query{interfaceId, nullptr};
  walkClassTable(
      classId, nullptr,
      [](const HostInterfaceId*, std::uint32_t, const HostInterfaceId* offered, std::uint32_t,
         XtraRecordCreate createRecord, void* context) {
        auto* wanted = static_cast<InterfaceQuery*>(context);
        if (!(*offered == *wanted->interfaceId)) return false;
        wanted->createRecord = createRecord;
        return true;
      },
      &query);
  if (query.createRecord == nullptr) return kHostErrNoInterface;
  return query.createRecord(object, outRecord);
}

HostStatus DllGetClassInfo(HostAllocator* allocator, XtraClassInfo** outInfo) {
  std::uint32_t visits = 0;
  walkClassTable(nullptr, countClass, countInterface, &visits);
  const std::uint32_t records = visits + 1;  // and the terminator
  void* block =
      allocator->AllocateBlock(records * static_cast<std::uint32_t>(sizeof(XtraClassInfo)));
  if (block == nullptr) {
    *outInfo = nullptr;
    return kHostErrOutOfMemory;
  }
  auto* info = static_cast<XtraClassInfo*>(block);
  ClassInfoWriter writer{info};
  walkClassTable(nullptr, writeClassRecord, writeInterfaceRecord, &writer);
  writer.next->classId = kNullInterfaceId;
  writer.next->interfaceId = kNullInterfaceId;
  *outInfo = info;
  return kHostOk;
}
