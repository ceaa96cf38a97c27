#include <gtest/gtest.h>

#include <new>

#include "GlueHost.h"
#include "InterfaceRecordMemory.h"
#include "MoaRegistry.h"
#include "XtraClassTable.h"

namespace gluetest {
namespace {

// Known classes are built by every test that loads the bundle.
TEST(ClassFactory, ClassFormAnswersKnownClassesOnly) {
  std::uint32_t size = 7;
  XtraObjectCreate create = nullptr;
  XtraObjectDestroy destroy = nullptr;
  const HostInterfaceId unknown{{1, 2, 3, 4}};
  EXPECT_EQ(DllGetClassForm(&unknown, &size, &create, &destroy), kHostErrNoClass);
  EXPECT_EQ(size, 7u);
  EXPECT_EQ(create, nullptr);
  EXPECT_EQ(destroy, nullptr);
  EXPECT_EQ(DllGetClassObject(&kScriptingClassId, &kIID_ClassFactory, nullptr), kHostErrNoClass);
}

int newHandlerCalls = 0;

TEST(ClassFactory, RecordCreationRetriesThroughTheNewHandlerAndFailsWithoutOne) {
  GlueHost host;
  HostStatus status = kHostOk;
  director::HostObject* object = host.createObject(kRegistrationClassId, &status);
  ASSERT_EQ(status, kHostOk);

  host.store.failAllocations(1);
  const std::new_handler previous = std::set_new_handler(nullptr);
  void* out = &host;
  EXPECT_EQ(object->QueryInterface(&kIID_IMoaRegister, &out), kHostErrOutOfMemory);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(object->references(), 1);
  EXPECT_EQ(liveInterfaceRecordCount_, 0);

  // The handler frees nothing here; the allocator succeeds once its failures are used up.
  newHandlerCalls = 0;
  host.store.failAllocations(3);
  std::set_new_handler([] { ++newHandlerCalls; });
  EXPECT_EQ(object->QueryInterface(&kIID_IMoaRegister, &out), kHostOk);
  std::set_new_handler(previous);
  EXPECT_EQ(newHandlerCalls, 3);
  ASSERT_NE(out, nullptr);
  static_cast<IMoaRegister*>(out)->Release();
  object->Release();
}

}  // namespace
}  // namespace gluetest
