#include <gtest/gtest.h>

#include <functional>

#include "GlueHost.h"
#include "MoaAppInfo.h"
#include "MoaRegistry.h"
#include "XtraClassTable.h"
#include "XtraMethodTable.h"

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

struct HostCase {
  const char* product;
  const char* version;
  bool accepted;
};

class RegisterUnder : public testing::TestWithParam<HostCase> {};

TEST_P(RegisterUnder, WritesAllThreeValuesInDirectorSixOrLaterElseNothing) {
  GlueHost host;
  host.appInfo.setProductName(GetParam().product);
  host.appInfo.setVersionString(GetParam().version);
  const Registered result = registerIn(host);
  if (!GetParam().accepted) {
    EXPECT_EQ(result.status, kHostErrNoInterface);
    EXPECT_EQ(result.loadControl, nullptr);
    EXPECT_EQ(result.scripting, nullptr);
    return;
  }
  ASSERT_EQ(result.status, kHostOk);
  ASSERT_NE(result.loadControl, nullptr);
  ASSERT_NE(result.scripting, nullptr);
  const director::RegistryValue* options = result.loadControl->find("XtraLoadControlOptions");
  ASSERT_NE(options, nullptr);
  EXPECT_EQ(options->integer(), 3);
  const director::RegistryValue* safe = result.scripting->find("safeForShockwave");
  ASSERT_NE(safe, nullptr);
  EXPECT_EQ(safe->bytes, std::vector<std::uint8_t>{1});
  EXPECT_EQ(safe->type, kMoaDictTypeBoolean);
  const director::RegistryValue* table = result.scripting->find("msgTable");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->text(), std::string(kMethodTableText));
}

INSTANTIATE_TEST_SUITE_P(
    Hosts, RegisterUnder,
    testing::Values(HostCase{"Director", "6.0", true}, HostCase{"Director", "11.5", true},
                    HostCase{"Director", "10", true}, HostCase{"Director", "5.5", false},
                    HostCase{"Director", "06", true}, HostCase{"Director", "", false},
                    HostCase{"Director MX", "11.5", false}, HostCase{"director", "11.5", false},
                    HostCase{"Director", "v11", false}),
    [](const testing::TestParamInfo<HostCase>& info) { return std::to_string(info.index); });

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
