// A small Xtra of the tests' own, so that the loader can be tried without the product: "Echo"
// answers method numbers and adds one to integers, and keeps its records counted like any Xtra.
#include <atomic>
#include <cstring>

#include "HostInterfaces.h"
#include "MoaAppInfo.h"
#include "MoaExports.h"
#include "MoaRegistry.h"
#include "MoaScripting.h"

namespace {

constexpr HostInterfaceId kRegisterClass{{0x45636801u, 0, 0, 0}};
constexpr HostInterfaceId kScriptClass{{0x45636802u, 0, 0, 0}};
constexpr std::uint32_t kVersion = 1;

// Method numbers as the loader must find them: comment and blank lines declare nothing.
constexpr char kTable[] =
    "xtra Echo -- the loader's test Xtra\n"
    "-- Making:\n"
    "new object me\n"
    "   -- an indented comment line\n"
    "\n"
    "Selector object me                 -- answers its own number\n"
    "AddOne object me, int n\n"
    "TypeOfSecond object me, int a, any b  -- the type code of b";
enum { kSelector = 1, kAddOne = 2, kTypeOfSecond = 3 };

int liveRecords = 0;

struct EchoObject {
  MoaObjectHeader header;
  HostValueInterface* values;
};

template <class Interface>
class Record : public Interface {
 public:
  explicit Record(MoaObjectHeader* object) : object_(object) {
    object_->unknown_->AddRef();
    ++liveRecords;
  }
  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override {
    return object_->unknown_->QueryInterface(iid, out);
  }
  std::uint32_t AddRef() override { return ++count_; }
  std::uint32_t Release() override {
    const std::uint32_t count = --count_;
    if (count == 0) {
      MoaObjectHeader* object = object_;
      --liveRecords;
      delete this;
      object->unknown_->Release();
    }
    return count;
  }

 protected:
  virtual ~Record() = default;
  MoaObjectHeader* object_;
  std::atomic<std::uint32_t> count_{1};
};

class ScriptRecord final : public Record<IMoaMmXScript> {
 public:
  using Record::Record;
  HostStatus Call(MoaMmCallInfo* call) override {
    HostValueInterface* values = reinterpret_cast<EchoObject*>(object_)->values;
    std::int32_t number = 0;
    switch (call->methodSelector) {
      case kSelector:
        return values->MakeIntegerValue(call->methodSelector, &call->resultValue);
      case kAddOne:
        if (HostStatus status = values->ReadIntegerValue(&call->arguments[1], &number)) {
          return status;
        }
        return values->MakeIntegerValue(number + 1, &call->resultValue);
      case kTypeOfSecond:
        values->ValueTypeOf(&call->arguments[2], &number);
        return values->MakeIntegerValue(number, &call->resultValue);
      default:
        return kHostOk;
    }
  }
};

class RegisterRecord final : public Record<IMoaRegister> {
 public:
  using Record::Record;
  HostStatus Register(IMoaCache* cache, IMoaDict* xtraDict) override {
    IMoaDict* entry = nullptr;
    if (HostStatus status =
            cache->AddRegistryEntry(xtraDict, &kScriptClass, &kIID_IMoaMmXScript, &entry)) {
      return status;
    }
    return entry->Put(kMoaDictTypeCString, kTable, 0, "msgTable");
  }
};

HostStatus createScript(MoaObjectHeader* object) {
  void* values = nullptr;
  HostStatus status = object->callback_->QueryInterface(&kIID_HostValueInterface, &values);
  reinterpret_cast<EchoObject*>(object)->values = static_cast<HostValueInterface*>(values);
  return status;
}

void destroyScript(MoaObjectHeader* object) {
  if (HostValueInterface* values = reinterpret_cast<EchoObject*>(object)->values) values->Release();
}

HostStatus createNothing(MoaObjectHeader*) {
  return kHostOk;
}
void destroyNothing(MoaObjectHeader*) {}

}  // namespace

void ppcSetFileRef(std::uint32_t) {}

HostStatus DllGetClassObject(const HostInterfaceId*, const HostInterfaceId*, void**) {
  return kHostErrNoClass;
}

HostStatus DllCanUnloadNow() {
  return liveRecords == 0 ? kHostOk : kHostErrCannotUnload;
}

HostStatus DllGetClassForm(const HostInterfaceId* classId, std::uint32_t* size,
                           XtraObjectCreate* create, XtraObjectDestroy* destroy) {
  if (*classId == kScriptClass) {
    *size = sizeof(EchoObject);
    *create = createScript;
    *destroy = destroyScript;
    return kHostOk;
  }
  if (*classId == kRegisterClass) {
    *size = sizeof(MoaObjectHeader);
    *create = createNothing;
    *destroy = destroyNothing;
    return kHostOk;
  }
  return kHostErrNoClass;
}

HostStatus DllGetInterface(MoaObjectHeader* object, const HostInterfaceId* classId,
                           const HostInterfaceId* iid, void** out) {
  *out = nullptr;
  if (*classId == kScriptClass && *iid == kIID_IMoaMmXScript) {
    *out = static_cast<IMoaMmXScript*>(new ScriptRecord(object));
  } else if (*classId == kRegisterClass && *iid == kIID_IMoaRegister) {
    *out = static_cast<IMoaRegister*>(new RegisterRecord(object));
  }
  return *out != nullptr ? kHostOk : kHostErrNoInterface;
}

HostStatus DllGetClassInfo(HostAllocator* allocator, XtraClassInfo** out) {
  const XtraClassInfo records[] = {
      {kRegisterClass, kVersion, kIID_ClassFactory, kClassRecordMarker},
      {kRegisterClass, kVersion, kIID_IMoaRegister, kVersion},
      {kScriptClass, kVersion, kIID_ClassFactory, kClassRecordMarker},
      {kScriptClass, kVersion, kIID_IMoaMmXScript, kVersion},
      {kNullInterfaceId, 0, kNullInterfaceId, 0},
  };
  *out = static_cast<XtraClassInfo*>(allocator->AllocateBlock(sizeof records));
  if (*out == nullptr) return kHostErrOutOfMemory;
  std::memcpy(*out, records, sizeof records);
  return kHostOk;
}
