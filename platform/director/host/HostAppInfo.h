// The host's application information: which product the Xtra runs in and its version. Tests and
// tools can pretend to be another product or version.
#pragma once

#include <map>
#include <string>

#include "MoaAppInfo.h"

namespace director {

class HostAppInfo final : public IMoaAppInfo {
 public:
  static constexpr const char* kDefaultProduct = "Director";
  static constexpr const char* kDefaultVersion = "11.5";

  HostStatus QueryInterface(const HostInterfaceId* iid, void** out) override;
  std::uint32_t AddRef() override;
  std::uint32_t Release() override;
  HostStatus GetInfo(std::int32_t item, char* buffer, std::uint32_t bufferSize) override;

  void setProductName(std::string name) { productName_ = std::move(name); }
  void setVersionString(std::string version) { versionString_ = std::move(version); }
  // Every later GetInfo of the item answers the status.
  void failItem(std::int32_t item, HostStatus status) { failures_[item] = status; }
  void clearFailures() { failures_.clear(); }

  // References handed out and not yet given back.
  std::int32_t references() const { return references_; }

 private:
  std::string productName_ = kDefaultProduct;
  std::string versionString_ = kDefaultVersion;
  std::map<std::int32_t, HostStatus> failures_;
  std::int32_t references_ = 0;
};

}  // namespace director
