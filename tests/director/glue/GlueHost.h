// A host for the glue linked into the test: the value store, application information and
// registry, objects built from the exports, and a stand-in instance that counts how often the
// dispatcher called it.
#pragma once

#include <gtest/gtest.h>

#include "HostAppInfo.h"
#include "HostObject.h"
#include "MoaExports.h"
#include "MoaScripting.h"
#include "Registry.h"
#include "TonvikBase.h"
#include "ValueStore.h"

namespace gluetest {

// What the stand-in instance saw; reset by each GlueHost.
struct InstanceLog {
  int calls = 0;
  bool failNextCreation = false;
  // Interface references the host still counted when the instance went.
  std::int32_t referencesAtDestruction = -1;
  director::ValueStore* store = nullptr;
};
InstanceLog& instanceLog();

class GlueHost {
 public:
  GlueHost();
  ~GlueHost();

  // An object of the class, built like the loader builds it; the caller releases it.
  director::HostObject* createObject(const HostInterfaceId& classId, HostStatus* status);
  template <class Interface>
  Interface* record(director::HostObject* object, const HostInterfaceId& iid) {
    void* out = nullptr;
    EXPECT_EQ(object->QueryInterface(&iid, &out), kHostOk);
    return static_cast<Interface*>(out);
  }

  director::ValueStore store;
  director::HostAppInfo appInfo;
  director::RegistryCache registry;
};

}  // namespace gluetest
