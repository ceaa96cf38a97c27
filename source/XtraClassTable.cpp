#include "XtraClassTable.h"

#include "CMIDIXtraRegister.h"
#include "CMIDIXtraScript.h"
#include "MoaRegistry.h"
#include "MoaScripting.h"

const HostInterfaceId kRegistrationClassId{{0x546f6e76u, 0x696b0001u, 0x52656769u, 0x73746572u}};
const HostInterfaceId kScriptingClassId{{0x546f6e76u, 0x696b0002u, 0x53637269u, 0x70740000u}};

namespace {

const XtraClass kClassTable[] = {
    {&kRegistrationClassId, kXtraClassVersion, sizeof(CMIDIXtraRegister), CMIDIXtraRegister_Create,
     CMIDIXtraRegister_Destroy, &kIID_IMoaRegister, kXtraInterfaceVersion,
     CMIDIXtraRegister_CreateRecord},
    {&kScriptingClassId, kXtraClassVersion, sizeof(CMIDIXtraScript), CMIDIXtraScript_Create,
     CMIDIXtraScript_Destroy, &kIID_IMoaMmXScript, kXtraInterfaceVersion,
     CMIDIXtraScript_CreateRecord},
};

}  // namespace

std::span<const XtraClass> xtraClasses() {
  return kClassTable;
}
