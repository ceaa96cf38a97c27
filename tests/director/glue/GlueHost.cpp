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
    instanceLog().referencesAtDestruction = instanceLog().store->interfaceReferences();
  }

  std::int32_t Init() override { return note(); }
  std::int32_t GetTime() override { return note(); }
  void ResetTimer() override { note(); }
  void GetInputPorts(LingoValue*) override { note(); }
  std::int32_t OpenInput(std::int32_t, std::int32_t) override { return note(); }
  std::int32_t CloseInput() override { return note(); }
  void GetOutputPorts(LingoValue*) override { note(); }
  std::int32_t OpenOutput(std::int32_t) override { return note(); }
  std::int32_t CloseOutput() override { return note(); }
  std::int32_t SendShortMessage(std::uint8_t, std::uint8_t, std::uint8_t, std::int32_t) override {
    return note();
  }
  std::int32_t SendSysex(std::uint8_t, const LingoValue*, std::uint32_t) override { return note(); }

 private:
  std::int32_t note() {
    ++instanceLog().calls;
    return kErrNone;
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

director::HostObject* GlueHost::createObject(const HostInterfaceId& classId, HostStatus* status) {
  director::XtraClassForm form{classId, 0, nullptr, nullptr, DllGetInterface};
  EXPECT_EQ(DllGetClassForm(&classId, &form.objectSize, &form.create, &form.destroy), kHostOk);
  return director::HostObject::create(form, store.callback(), store.allocator(), status);
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
