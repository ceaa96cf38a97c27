#include <gtest/gtest.h>

#include <cstring>
#include <new>

#include "GlueHost.h"
#include "InterfaceRecordMemory.h"
#include "MoaRegistry.h"
#include "XtraClassTable.h"

namespace gluetest {
namespace {

std::uint32_t word(const std::uint8_t* bytes, std::size_t offset) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes + offset, sizeof value);
  return value;
}

TEST(ClassFactory, ClassInfoListsBothClassesAndTheirInterfacesThenATerminator) {
  GlueHost host;
  XtraClassInfo* info = nullptr;
  ASSERT_EQ(DllGetClassInfo(host.store.allocator(), &info), kHostOk);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(info);
  struct Expected {
    const HostInterfaceId* classId;
    const HostInterfaceId* interfaceId;
    std::uint32_t last;
  };
  const Expected expected[] = {
      {&kRegistrationClassId, &kIID_ClassFactory, 1},
      {&kRegistrationClassId, &kIID_IMoaRegister, 0x01000042u},
      {&kScriptingClassId, &kIID_ClassFactory, 1},
      {&kScriptingClassId, &kIID_IMoaMmXScript, 0x01000042u},
  };
  constexpr std::size_t kRecordSize = 40;
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    const std::uint8_t* record = bytes + i * kRecordSize;
    EXPECT_EQ(std::memcmp(record, expected[i].classId, 16), 0) << i;
    EXPECT_EQ(word(record, 16), 0x01000042u) << i;
    EXPECT_EQ(std::memcmp(record + 20, expected[i].interfaceId, 16), 0) << i;
    EXPECT_EQ(word(record, 36), expected[i].last) << i;
  }
  const std::uint8_t* terminator = bytes + 4 * kRecordSize;
  EXPECT_EQ(std::memcmp(terminator, &kNullInterfaceId, 16), 0);
  EXPECT_EQ(std::memcmp(terminator + 20, &kNullInterfaceId, 16), 0);
  host.store.allocator()->FreeBlock(info);
}

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
