#include "GlueHost.h"

#include <gtest/gtest.h>

#include <new>

#include "PlatformInstance.h"

namespace gluetest {

namespace {

class StandInInstance final : public TonvikBase {
 public:
  using TonvikBase::TonvikBase;
  ~StandInInstance() override {
    InstanceLog& log = instanceLog();
    log.calls.push_back("destroyed");
    log.referencesAtDestruction = log.store->interfaceReferences();
  }

  std::int32_t Init() override { return note("Init", kErrNone); }
  std::int32_t GetTime() override { return note("GetTime", kTime); }
  void ResetTimer() override { note("ResetTimer", 0); }
  void GetInputPorts(LingoValue* list) override { appendPort("GetInputPorts", list); }
  std::int32_t OpenInput(std::int32_t port, std::int32_t bufSize) override {
    instanceLog().port = port;
    instanceLog().bufSize = bufSize;
    return note("OpenInput", port < 0 ? kErrInvalidPortNumber : kErrNone);
  }
  std::int32_t CloseInput() override { return note("CloseInput", kErrInputNotOpen); }
  void GetOutputPorts(LingoValue* list) override { appendPort("GetOutputPorts", list); }
  std::int32_t OpenOutput(std::int32_t port) override {
    instanceLog().port = port;
    return note("OpenOutput", kErrNotInitialised);
  }
  std::int32_t CloseOutput() override { return note("CloseOutput", kErrOutputNotOpen); }
  std::int32_t SendShortMessage(std::uint8_t, std::uint8_t, std::uint8_t, std::int32_t) override {
    return note("SendShortMessage", kErrNone);
  }
  std::int32_t SendSysex(std::uint8_t, const LingoValue*, std::uint32_t) override {
    return note("SendSysex", kErrNone);
  }

  static constexpr std::int32_t kTime = 1234;

 private:
  std::int32_t note(const char* call, std::int32_t answer) {
    instanceLog().calls.push_back(call);
    return answer;
  }
  void appendPort(const char* call, LingoValue* list) {
    note(call, 0);
    LingoValue name;
    valueInterface_->MakeStringValue("Port A", &name);
    listInterface_->AppendListItem(list, &name);
    valueInterface_->ReleaseValue(&name);
  }
};

}  // namespace

InstanceLog& instanceLog() {
  static InstanceLog log;
  return log;
}

GlueHost::GlueHost() {
  instanceLog() = InstanceLog{};
  instanceLog().store = &store;
  store.publishInterface(kIID_IMoaAppInfo, &appInfo);
}

GlueHost::~GlueHost() {
  EXPECT_EQ(store.liveValues(), 0u);
  EXPECT_EQ(store.liveBlocks(), 0u);
  EXPECT_EQ(store.interfaceReferences(), 0);
  EXPECT_EQ(appInfo.references(), 0);
  instanceLog().store = nullptr;
}

director::HostObject* GlueHost::createObject(const HostInterfaceId& classId, HostStatus* status,
                                             HostCallback* callback) {
  director::XtraClassForm form{classId, 0, nullptr, nullptr, DllGetInterface};
  EXPECT_EQ(DllGetClassForm(&classId, &form.objectSize, &form.create, &form.destroy), kHostOk);
  return director::HostObject::create(form, callback != nullptr ? callback : store.callback(),
                                      store.allocator(), status);
}

}  // namespace gluetest

// Stands in for the platform's factory: the test links before the Xtra's library, so this one
// is used and the platform instance is never built.
TonvikBase* createPlatformInstance(HostValueInterface* valueInterface,
                                   HostListInterface* listInterface, HostAllocator* allocator) {
  gluetest::InstanceLog& log = gluetest::instanceLog();
  if (log.failNextCreation) {
    log.failNextCreation = false;
    return nullptr;
  }
  return new (std::nothrow) gluetest::StandInInstance(valueInterface, listInterface, allocator);
}
