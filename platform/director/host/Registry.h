// The host's registry: per Xtra a dictionary, and per (class, interface) entry of that Xtra a
// dictionary of typed values, which the host reads back after registration (the message table
// above all).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MoaRegistry.h"

namespace director {

struct RegistryValue {
  std::int32_t type = 0;
  std::vector<std::uint8_t> bytes;

  // Each answers nothing when the value is of another type.
  std::optional<std::int32_t> integer() const;
  std::optional<bool> boolean() const;
  std::optional<std::string> text() const;
};

class RegistryDictionary final : public IMoaDict {
 public:
  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override;
  std::uint32_t AddRef() override { return 1; }
  std::uint32_t Release() override { return 1; }
  HostStatus Put(std::int32_t type, const void* value, std::int32_t size, const char* key) override;

  const RegistryValue* find(std::string_view key) const;
  std::size_t size() const { return values_.size(); }
  // Every later Put under the key answers the status and stores nothing.
  void failPut(std::string key, HostStatus status) { failures_[std::move(key)] = status; }

 private:
  std::map<std::string, RegistryValue, std::less<>> values_;
  std::map<std::string, HostStatus, std::less<>> failures_;
};

class RegistryCache final : public IMoaCache {
 public:
  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override;
  std::uint32_t AddRef() override { return 1; }
  std::uint32_t Release() override { return 1; }
  HostStatus AddRegistryEntry(IMoaDict* xtraDict, const HostInterfaceId* classId,
                              const HostInterfaceId* interfaceId, IMoaDict** outEntryDict) override;

  // A dictionary for one Xtra to register into; owned by the cache.
  RegistryDictionary* newXtraDictionary();
  // The entry's dictionary, or null when the Xtra registered no such entry.
  RegistryDictionary* entry(const IMoaDict* xtraDict, const HostInterfaceId& classId,
                            const HostInterfaceId& interfaceId) const;
  // Every later AddRegistryEntry for the interface answers the status and hands out nothing.
  void failEntries(const HostInterfaceId& interfaceId, HostStatus status);

 private:
  struct Entry {
    const IMoaDict* xtraDict;
    HostInterfaceId classId;
    HostInterfaceId interfaceId;
    std::unique_ptr<RegistryDictionary> dictionary;
  };
  std::vector<std::unique_ptr<RegistryDictionary>> xtraDictionaries_;
  std::vector<Entry> entries_;
  std::vector<std::pair<HostInterfaceId, HostStatus>> failures_;
};

}  // namespace director
