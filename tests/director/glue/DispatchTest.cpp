#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "CMIDIXtraScript.h"
#include "GlueHost.h"
#include "XtraClassTable.h"
#include "XtraMethodTable.h"

namespace gluetest {
namespace {

// A callback that refuses one interface and passes every other query to the store's.
class RefusingCallback final : public HostCallback {
 public:
  RefusingCallback(HostCallback* inner, HostInterfaceId refused)
      : inner_(inner), refused_(refused) {}
  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override {
    *out = nullptr;
    return *iid == refused_ ? kHostErrInjected : inner_->QueryInterface(iid, out);
  }
  std::uint32_t AddRef() override { return 1; }
  std::uint32_t Release() override { return 1; }

 private:
  HostCallback* inner_;
  HostInterfaceId refused_;
};

// Each selector leaves the result as it was and reaches no instance.
void expectCallsDoNothing(IMoaMmXScript* script, const std::vector<std::int32_t>& selectors) {
  LingoValue arguments[3] = {};
  MoaMmCallInfo info{};
  info.arguments = arguments;
  info.resultValue.opaque = 7;
  for (std::int32_t selector : selectors) {
    info.methodSelector = selector;
    EXPECT_EQ(script->Call(&info), kHostOk) << selector;
    EXPECT_EQ(info.resultValue.opaque, 7u) << selector;
  }
  EXPECT_TRUE(instanceLog().calls.empty());
}

class Dispatch : public testing::Test {
 protected:
  void SetUp() override {
    HostStatus status = kHostOk;
    object_ = host_.createObject(kScriptingClassId, &status);
    ASSERT_EQ(status, kHostOk);
    script_ = host_.record<IMoaMmXScript>(object_, kIID_IMoaMmXScript);
  }
  void TearDown() override {
    script_->Release();
    object_->Release();
  }

  GlueHost host_;
  director::HostObject* object_ = nullptr;
  IMoaMmXScript* script_ = nullptr;
};

TEST_F(Dispatch, SelectorsOutsideTheTableDoNothing) {
  const std::size_t symbolValues = host_.store.liveValues();
  expectCallsDoNothing(script_, {0, -1, 18, 1000});
  EXPECT_EQ(host_.store.liveValues(), symbolValues);
}

TEST_F(Dispatch, TheInstanceGoesBeforeTheHostInterfaces) {
  script_->Release();
  object_->Release();
  EXPECT_EQ(instanceLog().calls.back(), "destroyed");
  EXPECT_EQ(instanceLog().referencesAtDestruction, 2);  // value and list still held
  EXPECT_EQ(host_.store.liveValues(), 0u);
  SetUp();
}

// A refused host interface or no memory for the instance leaves the object without one, and
// every later call does nothing.
TEST(Creation, LeavesNoInstanceAndLaterCallsDoNothing) {
  const struct {
    bool refuseValues, refuseLists, outOfMemory;
    HostStatus expected;
  } cases[] = {{true, false, false, kHostErrInjected},
               {false, true, false, kHostErrInjected},
               {false, false, true, kHostErrOutOfMemory}};
  for (const auto& c : cases) {
    GlueHost host;
    RefusingCallback refuseValues(host.store.callback(), kIID_HostValueInterface);
    RefusingCallback refuseLists(host.store.callback(), kIID_HostListInterface);
    HostCallback* callback = c.refuseValues  ? &refuseValues
                             : c.refuseLists ? &refuseLists
                                             : host.store.callback();
    instanceLog().failNextCreation = c.outOfMemory;
    HostStatus status = kHostOk;
    director::HostObject* object = host.createObject(kScriptingClassId, &status, callback);
    EXPECT_EQ(status, c.expected);
    EXPECT_EQ(host.store.interfaceReferences(), 0);
    EXPECT_EQ(reinterpret_cast<CMIDIXtraScript*>(object->header())->instance_, nullptr);

    auto* script = host.record<IMoaMmXScript>(object, kIID_IMoaMmXScript);
    std::vector<std::int32_t> selectors(kMethodSendMessage + 3);
    std::iota(selectors.begin(), selectors.end(), -1);  // the table's, and one on either side
    expectCallsDoNothing(script, selectors);
    script->Release();
    object->Release();
  }
}

}  // namespace
}  // namespace gluetest
