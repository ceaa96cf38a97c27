// The class factory, and Register run through the registration object it builds.
#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "GlueHost.h"
#include "InterfaceRecordMemory.h"
#include "MoaAppInfo.h"
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

struct Registered {
  HostStatus status;
  director::RegistryDictionary* loadControl;
  director::RegistryDictionary* scripting;
};

// Runs Register once through a registration object, as the loader does; `before` may arrange a
// failure once the record exists.
Registered registerIn(GlueHost& host,
                      const std::function<void(director::RegistryDictionary*)>& before = {}) {
  HostStatus status = kHostOk;
  director::HostObject* object = host.createObject(kRegistrationClassId, &status);
  EXPECT_EQ(status, kHostOk);
  auto* registration = host.record<IMoaRegister>(object, kIID_IMoaRegister);
  director::RegistryDictionary* xtra = host.registry.newXtraDictionary();
  if (before) before(xtra);
  status = registration->Register(&host.registry, xtra);
  registration->Release();
  object->Release();
  return {status, host.registry.entry(xtra, kScriptingClassId, kIID_XtraLoadControl),
          host.registry.entry(xtra, kScriptingClassId, kIID_IMoaMmXScript)};
}

// The message table it writes is what the loader numbers every script's calls by.
TEST(Register, WritesAllThreeValuesInDirectorSixOrLaterElseNothing) {
  const struct {
    const char* product;
    const char* version;
    bool accepted;
  } cases[] = {
      {"Director", "6.0", true},      {"Director", "11.5", true},  {"Director", "10", true},
      {"Director", "5.5", false},     {"Director", "06", true},    {"Director", "", false},
      {"Director MX", "11.5", false}, {"director", "11.5", false}, {"Director", "v11", false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.product) + " " + c.version);
    GlueHost host;
    host.appInfo.setProductName(c.product);
    host.appInfo.setVersionString(c.version);
    const Registered result = registerIn(host);
    EXPECT_EQ(result.status, c.accepted ? kHostOk : kHostErrNoInterface);
    ASSERT_EQ(result.loadControl != nullptr, c.accepted);
    ASSERT_EQ(result.scripting != nullptr, c.accepted);
    if (!c.accepted) continue;
    const director::RegistryValue* options = result.loadControl->find("XtraLoadControlOptions");
    ASSERT_NE(options, nullptr);
    EXPECT_EQ(options->integer(), 3);
    const director::RegistryValue* safe = result.scripting->find("safeForShockwave");
    ASSERT_NE(safe, nullptr);
    EXPECT_EQ(safe->bytes, std::vector<std::uint8_t>{1});
    EXPECT_EQ(safe->type, kMoaDictTypeBoolean);
  }
}

TEST(Register, PassesHostFailuresOnExceptThoseOfTheLoadControlEntry) {
  {
    GlueHost host;
    // The record comes from the object itself, so the callback is first asked by Register.
    EXPECT_EQ(registerIn(host,
                         [&](director::RegistryDictionary*) {
                           host.store.failNext(director::HostOperation::QueryInterface, 1);
                         })
                  .status,
              kHostErrNoInterface);
  }
  {
    GlueHost host;
    host.appInfo.failItem(kMoaAppInfoVersionString, kHostErrBadIndex);
    EXPECT_EQ(registerIn(host).status, kHostErrBadIndex);
  }
  {
    GlueHost host;
    host.registry.failEntries(kIID_XtraLoadControl, kHostErrInjected);
    const Registered result = registerIn(host);
    EXPECT_EQ(result.status, kHostOk);
    ASSERT_NE(result.scripting, nullptr);
    EXPECT_NE(result.scripting->find("msgTable"), nullptr);
  }
  {
    GlueHost host;
    host.registry.failEntries(kIID_IMoaMmXScript, kHostErrInjected);
    EXPECT_EQ(registerIn(host).status, kHostErrInjected);
  }
  for (const char* key : {"safeForShockwave", "msgTable"}) {
    GlueHost host;
    auto failPut = [&](director::RegistryDictionary* xtra) {
      IMoaDict* entry = nullptr;
      host.registry.AddRegistryEntry(xtra, &kScriptingClassId, &kIID_IMoaMmXScript, &entry);
      static_cast<director::RegistryDictionary*>(entry)->failPut(key, kHostErrBadValue);
    };
    EXPECT_EQ(registerIn(host, failPut).status, kHostErrBadValue) << key;
  }
}

}  // namespace
}  // namespace gluetest
