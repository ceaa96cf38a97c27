// The interpreter's view of the Xtras that the host loaded from the Xtras folder.
#pragma once

#include <memory>

#include "XtraBridge.h"
#include "XtraLoader.h"

namespace tonvik {

// What the loaded Xtras need alive: the value store first, the loader behind it. Instances hold
// it too, so it outlives every instance a script still refers to.
struct HostState {
  director::ValueStore store;
  director::XtraLoader loader{store};
};

class LoaderBridge final : public XtraBridge {
 public:
  explicit LoaderBridge(std::shared_ptr<HostState> host) : host_(std::move(host)) {}
  std::optional<std::string> findXtra(std::string_view name) const override;
  XtraNewResult newInstance(const std::string& xtraName) override;

 private:
  std::shared_ptr<HostState> host_;
};

}  // namespace tonvik
