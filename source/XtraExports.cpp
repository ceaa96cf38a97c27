#include "MoaExports.h"

#include "InterfaceRecordMemory.h"
#include "XtraClassTable.h"

namespace {

// Kept for the host's sake; nothing reads it.
std::uint32_t hostFileRef_ = 0;

// A null ID names no class.
const XtraClass* findClass(const HostInterfaceId* classId) {
  if (classId == nullptr) return nullptr;
  for (const XtraClass& entry : xtraClasses()) {
    if (*entry.classId == *classId) return &entry;
  }
  return nullptr;
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
  const XtraClass* found = findClass(classId);
  if (found == nullptr) return kHostErrNoClass;
  *outObjectSize = found->objectSize;
  *outCreate = found->create;
  *outDestroy = found->destroy;
  return kHostOk;
}

HostStatus DllGetInterface(MoaObjectHeader* object, const HostInterfaceId* classId,
                           const HostInterfaceId* interfaceId, void** outRecord) {
  const XtraClass* found = findClass(classId);
  if (found == nullptr || interfaceId == nullptr || !(*found->interfaceId == *interfaceId)) {
    return kHostErrNoInterface;
  }
  return found->createRecord(object, outRecord);
}

// A class record and an interface record per class, in table order, then a record with null IDs.
HostStatus DllGetClassInfo(HostAllocator* allocator, XtraClassInfo** outInfo) {
  const std::span<const XtraClass> classes = xtraClasses();
  const auto records = static_cast<std::uint32_t>(2 * classes.size() + 1);
  void* block =
      allocator->AllocateBlock(records * static_cast<std::uint32_t>(sizeof(XtraClassInfo)));
  if (block == nullptr) {
    *outInfo = nullptr;
    return kHostErrOutOfMemory;
  }
  auto* record = static_cast<XtraClassInfo*>(block);
  for (const XtraClass& entry : classes) {
    *record++ = {*entry.classId, entry.classVersion, kIID_ClassFactory, kClassRecordMarker};
    *record++ = {*entry.classId, entry.classVersion, *entry.interfaceId, entry.interfaceVersion};
  }
  record->classId = kNullInterfaceId;
  record->interfaceId = kNullInterfaceId;
  *outInfo = static_cast<XtraClassInfo*>(block);
  return kHostOk;
}
