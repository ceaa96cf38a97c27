#include <string_view>

#include "Backend.h"
#include "VirtualBackend.h"

namespace coremidi {

std::unique_ptr<Backend> makeBackend(std::string_view name) {
  if (name == virtualmidi::VirtualBackend::kName) {
    return std::make_unique<virtualmidi::VirtualBackend>();
  }
  return nullptr;
}

}  // namespace coremidi
