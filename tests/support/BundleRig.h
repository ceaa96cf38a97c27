// The product bundle loaded as the message window loads it, with one instance, and calls by
// method name answered the way a script would print them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ValueStore.h"
#include "XtraLoader.h"

struct BundleRig {
  // Loads the bundle at the path; a problem is answered by loaded().
  explicit BundleRig(const char* path);

  bool loaded() const { return bundle != nullptr; }
  // Makes the instance; answers the status of "new" in hexadecimal.
  std::string create();
  // The printed result without a timestamp, followed by " status X" when the host status is not
  // 0. The arguments are released.
  std::string call(std::string_view method, std::vector<LingoValue> arguments = {});
  std::string call(std::string_view method, const std::vector<std::int32_t>& integers);

  director::ValueStore store;
  director::XtraLoader loader{store};
  std::shared_ptr<director::XtraBundle> bundle;
  std::unique_ptr<director::XtraInstance> instance;
};

std::string hexStatus(HostStatus status);
