#include "CMIDIXtraRegister.h"

#include <cstring>

#include "MoaAppInfo.h"
#include "MoaScripting.h"
#include "XtraClassTable.h"
#include "XtraMethodTable.h"

namespace {

constexpr std::uint32_t kAppInfoBufferSize = 64;
constexpr char kRequiredProduct[] = "Director";
constexpr int kMinimumMajorVersion = 6;
constexpr int kDecimalBase = 10;

constexpr std::int32_t kLoadControlOptions = 3;
constexpr std::int32_t kImpliedSize = 0;
constexpr std::int32_t kBooleanSize = 1;
constexpr std::uint8_t kTrue = 1;

constexpr char kLoadControlKey[] = "XtraLoadControlOptions";
constexpr char kSafeForShockwaveKey[] = "safeForShockwave";
constexpr char kMessageTableKey[] = "msgTable";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Director 6 or later, and only Director: the version is judged by its leading number.
HostStatus checkHost(IMoaAppInfo* appInfo) {
  char buffer[kAppInfoBufferSize] = {};
  HostStatus status = appInfo->GetInfo(kMoaAppInfoProductName, buffer, sizeof buffer);
  if (status != kHostOk) return status;
  if (std::strcmp(buffer, kRequiredProduct) != 0) return kHostErrNoInterface;

  status = appInfo->GetInfo(kMoaAppInfoVersionString, buffer, sizeof buffer);
  if (status != kHostOk) return status;
  if (!isDigit(buffer[0])) return kHostErrNoInterface;
  int major = 0;
  for (const char* c = buffer; isDigit(*c) && major < kMinimumMajorVersion; ++c) {
    major = major * kDecimalBase + (*c - '0');
  }
  return major < kMinimumMajorVersion ? kHostErrNoInterface : kHostOk;
}

}  // namespace

HostStatus CMIDIXtraRegister_Create(MoaObjectHeader*) {
  return kHostOk;
}

void CMIDIXtraRegister_Destroy(MoaObjectHeader*) {}

HostStatus CMIDIXtraRegister_IMoaRegister::Register(IMoaCache* cache, IMoaDict* xtraDict) {
  void* found = nullptr;
  if (object_->callback_->QueryInterface(&kIID_IMoaAppInfo, &found) != kHostOk ||
      found == nullptr) {
    return kHostErrNoInterface;
  }
  auto* appInfo = static_cast<IMoaAppInfo*>(found);
  HostStatus status = checkHost(appInfo);
  appInfo->Release();
  if (status != kHostOk) return status;

  IMoaDict* entry = nullptr;
  cache->AddRegistryEntry(xtraDict, &kScriptingClassId, &kIID_XtraLoadControl, &entry);
  if (entry != nullptr) {
    entry->Put(kMoaDictTypeInteger, &kLoadControlOptions, kImpliedSize, kLoadControlKey);
  }

  entry = nullptr;
  status = cache->AddRegistryEntry(xtraDict, &kScriptingClassId, &kIID_IMoaMmXScript, &entry);
  if (status != kHostOk) return status;
  status = entry->Put(kMoaDictTypeBoolean, &kTrue, kBooleanSize, kSafeForShockwaveKey);
  if (status != kHostOk) return status;

  const std::uint32_t size = static_cast<std::uint32_t>(std::strlen(kMethodTableText)) + 1;
  HostAllocator* allocator = object_->allocator_;
  void* block = allocator->AllocateBlock(size);
  if (block == nullptr) return kHostOk;
  std::memcpy(block, kMethodTableText, size);
  status = entry->Put(kMoaDictTypeCString, block, kImpliedSize, kMessageTableKey);
  allocator->FreeBlock(block);
  return status;
}

HostStatus CMIDIXtraRegister_CreateRecord(MoaObjectHeader* object, void** outRecord) {
  return createInterfaceRecord<CMIDIXtraRegister_IMoaRegister>(object, outRecord);
}
