#include <gtest/gtest.h>

#include <functional>

#include "GlueHost.h"
#include "MoaAppInfo.h"
#include "MoaRegistry.h"
#include "XtraClassTable.h"

namespace gluetest {
namespace {

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
