#include "Registry.h"

#include <gtest/gtest.h>

#include "MoaScripting.h"

namespace director {
namespace {

constexpr HostInterfaceId kClass{{1, 2, 3, 4}};

TEST(Registry, KeepsTypedValuesPerXtraClassAndInterface) {
  RegistryCache cache;
  RegistryDictionary* xtra = cache.newXtraDictionary();
  RegistryDictionary* other = cache.newXtraDictionary();
  IMoaDict* entry = nullptr;
  ASSERT_EQ(cache.AddRegistryEntry(xtra, &kClass, &kIID_IMoaMmXScript, &entry), kHostOk);
  const std::int32_t three = 3;
  const std::uint8_t yes = 1;
  EXPECT_EQ(entry->Put(kMoaDictTypeInteger, &three, 0, "options"), kHostOk);
  EXPECT_EQ(entry->Put(kMoaDictTypeBoolean, &yes, 1, "safe"), kHostOk);
  EXPECT_EQ(entry->Put(kMoaDictTypeCString, "xtra T", 0, "msgTable"), kHostOk);

  IMoaDict* again = nullptr;
  cache.AddRegistryEntry(xtra, &kClass, &kIID_IMoaMmXScript, &again);
  EXPECT_EQ(again, entry);
  EXPECT_EQ(cache.entry(other, kClass, kIID_IMoaMmXScript), nullptr);
  RegistryDictionary* stored = cache.entry(xtra, kClass, kIID_IMoaMmXScript);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->find("options")->integer(), 3);
  EXPECT_EQ(stored->find("safe")->boolean(), true);
  EXPECT_EQ(stored->find("msgTable")->text(), "xtra T");
  EXPECT_EQ(stored->find("msgTable")->integer(), std::nullopt);
  EXPECT_EQ(stored->find("missing"), nullptr);
}

TEST(Registry, InjectedFailuresStoreNothing) {
  RegistryCache cache;
  RegistryDictionary* xtra = cache.newXtraDictionary();
  cache.failEntries(kIID_IMoaMmXScript, kHostErrBadValue);
  IMoaDict* entry = reinterpret_cast<IMoaDict*>(&cache);
  EXPECT_EQ(cache.AddRegistryEntry(xtra, &kClass, &kIID_IMoaMmXScript, &entry), kHostErrBadValue);
  EXPECT_EQ(entry, nullptr);

  RegistryDictionary dictionary;
  dictionary.failPut("msgTable", kHostErrInjected);
  EXPECT_EQ(dictionary.Put(kMoaDictTypeCString, "x", 0, "msgTable"), kHostErrInjected);
  EXPECT_EQ(dictionary.Put(kMoaDictTypeBoolean, "x", 0, "flag"), kHostErrBadValue);
  EXPECT_EQ(dictionary.size(), 0u);
}

}  // namespace
}  // namespace director
