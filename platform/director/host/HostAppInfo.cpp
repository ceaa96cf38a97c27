#include "HostAppInfo.h"

#include <algorithm>
#include <cstring>

namespace director {

HostStatus HostAppInfo::QueryInterface(const HostInterfaceId* iid, void** out) {
  *out = nullptr;
  if (!(*iid == kIID_IMoaAppInfo)) return kHostErrNoInterface;
  AddRef();
  *out = static_cast<IMoaAppInfo*>(this);
  return kHostOk;
}

std::uint32_t HostAppInfo::AddRef() {
  return static_cast<std::uint32_t>(++references_);
}

std::uint32_t HostAppInfo::Release() {
  return static_cast<std::uint32_t>(--references_);
}

HostStatus HostAppInfo::GetInfo(std::int32_t item, char* buffer, std::uint32_t bufferSize) {
  if (auto failure = failures_.find(item); failure != failures_.end()) return failure->second;
  const std::string* text = nullptr;
  if (item == kMoaAppInfoProductName) text = &productName_;
  if (item == kMoaAppInfoVersionString) text = &versionString_;
  if (text == nullptr) return kHostErrBadIndex;
  if (bufferSize == 0) return kHostErrBadValue;
  const std::size_t length = std::min<std::size_t>(text->size(), bufferSize - 1);
  std::memcpy(buffer, text->data(), length);
  buffer[length] = '\0';
  return kHostOk;
}

}  // namespace director
