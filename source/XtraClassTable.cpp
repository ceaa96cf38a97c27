#include "XtraClassTable.h"

#include <iterator>

#include "CMIDIXtraRegister.h"
#include "CMIDIXtraScript.h"
#include "MoaRegistry.h"
#include "MoaScripting.h"

const HostInterfaceId kRegistrationClassId{{0x546f6e76u, 0x696b0001u, 0x52656769u, 0x73746572u}};
const HostInterfaceId kScriptingClassId{{0x546f6e76u, 0x696b0002u, 0x53637269u, 0x70740000u}};

namespace {

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

const XtraClass kClassTable[] = {
    {&kRegistrationClassId, kXtraClassVersion, sizeof(CMIDIXtraRegister), CMIDIXtraRegister_Create,
     CMIDIXtraRegister_Destroy, &kIID_IMoaRegister, kXtraInterfaceVersion,
     CMIDIXtraRegister_CreateRecord},
    {&kScriptingClassId, kXtraClassVersion, sizeof(CMIDIXtraScript), CMIDIXtraScript_Create,
     CMIDIXtraScript_Destroy, &kIID_IMoaMmXScript, kXtraInterfaceVersion,
     CMIDIXtraScript_CreateRecord},
};

}  // namespace

void walkClassTable(const HostInterfaceId* classId, XtraClassVisitor classVisitor,
                    XtraInterfaceVisitor interfaceVisitor, void* context) {
  for (const XtraClass& entry : kClassTable) {
    if (classId != nullptr && !(*classId == *entry.classId)) continue;
    if (classVisitor != nullptr && classVisitor(entry.classId, entry.classVersion, entry.objectSize,
                                                entry.create, entry.destroy, context)) {
      return;
    }
    if (interfaceVisitor != nullptr &&
        interfaceVisitor(entry.classId, entry.classVersion, entry.interfaceId,
                         entry.interfaceVersion, entry.createRecord, context)) {
      return;
    }
  }
}
