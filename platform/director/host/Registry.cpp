#include "Registry.h"

#include <cstring>

namespace director {

namespace {

constexpr std::int32_t kImpliedSize = 0;
constexpr std::size_t kBooleanSize = 1;

}  // namespace

std::optional<std::int32_t> RegistryValue::integer() const {
  if (type != kMoaDictTypeInteger || bytes.size() != sizeof(std::int32_t)) return std::nullopt;
  std::int32_t number = 0;
  std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

std::optional<bool> RegistryValue::boolean() const {
  if (type != kMoaDictTypeBoolean || bytes.size() != kBooleanSize) return std::nullopt;
  return bytes[0] != 0;
}

std::optional<std::string> RegistryValue::text() const {
  if (type != kMoaDictTypeCString || bytes.empty() || bytes.back() != '\0') return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size() - 1);
}

HostStatus RegistryDictionary::QueryInterface(const HostInterfaceId*, void** out) {
  *out = nullptr;
  return kHostErrNoInterface;
}

HostStatus RegistryDictionary::Put(std::int32_t type, const void* value, std::int32_t size,
                                   const char* key) {
  if (key == nullptr || value == nullptr || size < 0) return kHostErrBadValue;
  if (auto failure = failures_.find(key); failure != failures_.end()) return failure->second;
  std::size_t length = static_cast<std::size_t>(size);
  if (size == kImpliedSize) {
    if (type == kMoaDictTypeInteger) {
      length = sizeof(std::int32_t);
    } else if (type == kMoaDictTypeCString) {
      length = std::strlen(static_cast<const char*>(value)) + 1;
    } else {
      return kHostErrBadValue;
    }
  }
  RegistryValue stored;
  stored.type = type;
  const auto* bytes = static_cast<const std::uint8_t*>(value);
  stored.bytes.assign(bytes, bytes + length);
  values_[key] = std::move(stored);
  return kHostOk;
}

const RegistryValue* RegistryDictionary::find(std::string_view key) const {
  auto found = values_.find(key);
  return found == values_.end() ? nullptr : &found->second;
}

HostStatus RegistryCache::QueryInterface(const HostInterfaceId*, void** out) {
  *out = nullptr;
  return kHostErrNoInterface;
}

HostStatus RegistryCache::AddRegistryEntry(IMoaDict* xtraDict, const HostInterfaceId* classId,
                                           const HostInterfaceId* interfaceId,
                                           IMoaDict** outEntryDict) {
  *outEntryDict = nullptr;
  for (const auto& [failingId, status] : failures_) {
    if (failingId == *interfaceId) return status;
  }
  RegistryDictionary* dictionary = entry(xtraDict, *classId, *interfaceId);
  if (dictionary == nullptr) {
    auto created = std::make_unique<RegistryDictionary>();
    dictionary = created.get();
    entries_.push_back(Entry{xtraDict, *classId, *interfaceId, std::move(created)});
  }
  *outEntryDict = dictionary;
  return kHostOk;
}

RegistryDictionary* RegistryCache::newXtraDictionary() {
  xtraDictionaries_.push_back(std::make_unique<RegistryDictionary>());
  return xtraDictionaries_.back().get();
}

RegistryDictionary* RegistryCache::entry(const IMoaDict* xtraDict, const HostInterfaceId& classId,
                                         const HostInterfaceId& interfaceId) const {
  for (const Entry& candidate : entries_) {
    if (candidate.xtraDict == xtraDict && candidate.classId == classId &&
        candidate.interfaceId == interfaceId) {
      return candidate.dictionary.get();
    }
  }
  return nullptr;
}

void RegistryCache::failEntries(const HostInterfaceId& interfaceId, HostStatus status) {
  failures_.emplace_back(interfaceId, status);
}

}  // namespace director
