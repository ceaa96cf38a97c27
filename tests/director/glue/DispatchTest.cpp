#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "CMIDIXtraScript.h"
#include "GlueHost.h"
#include "XtraClassTable.h"
#include "XtraMethodTable.h"

namespace gluetest {
namespace {

using director::HostOperation;

// An object is built with both host interfaces and an instance, or, when the host refuses one
// of them or has no memory for the instance, with none of them, and then every call does
// nothing. Selectors outside the table never reach an instance, and the instance goes before
// the host interfaces it releases its symbols through.
TEST(Dispatch, CallsReachOnlyAnInstanceBuiltWithBothHostInterfaces) {
  // The host's interface query that fails: none, the value interface's, the list interface's;
  // -1: none, but the instance cannot be made.
  for (const int refused : {0, 1, 2, -1}) {
    SCOPED_TRACE(refused);
    GlueHost host;
    int queries = 0;
    host.store.watchOperations([&](HostOperation operation) {
      if (operation == HostOperation::QueryInterface && ++queries == refused) {
        host.store.failNext(operation, 1);
      }
    });
    instanceLog().failNextCreation = refused < 0;
    HostStatus status = kHostOk;
    director::HostObject* object = host.createObject(kScriptingClassId, &status);
    host.store.watchOperations({});
    const bool built = refused == 0;
    EXPECT_EQ(status, built ? kHostOk : refused > 0 ? kHostErrNoInterface : kHostErrOutOfMemory);
    EXPECT_EQ(reinterpret_cast<CMIDIXtraScript*>(object->header())->instance_ != nullptr, built);
    EXPECT_EQ(host.store.interfaceReferences(), built ? 2 : 0);

    auto* script = host.record<IMoaMmXScript>(object, kIID_IMoaMmXScript);
    std::vector<std::int32_t> selectors(kMethodSendMessage + 3);
    std::iota(selectors.begin(), selectors.end(), -1);  // the table's, and one on either side
    if (built) selectors = {-1, kMethodNew, kMethodSendMessage + 1, 1000};
    const std::size_t values = host.store.liveValues();
    LingoValue arguments[3] = {};
    MoaMmCallInfo info{nullptr, 0, {7}, 0, arguments};  // a result no call may touch
    for (std::int32_t selector : selectors) {
      info.methodSelector = selector;
      EXPECT_EQ(script->Call(&info), kHostOk) << selector;
      EXPECT_EQ(info.resultValue.opaque, 7u) << selector;
    }
    EXPECT_EQ(instanceLog().calls, 0);
    EXPECT_EQ(host.store.liveValues(), values);
    script->Release();
    object->Release();
    EXPECT_EQ(instanceLog().referencesAtDestruction, built ? 2 : -1);
  }
}

}  // namespace
}  // namespace gluetest
