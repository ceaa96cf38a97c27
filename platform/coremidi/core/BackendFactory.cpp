#include <string_view>

#include "Backend.h"
#include "VirtualBackend.h"
#ifdef TONVIK_HAVE_JACK
#include "JackBackend.h"
#endif

namespace coremidi {

std::unique_ptr<Backend> makeBackend(std::string_view name) {
  if (name == virtualmidi::VirtualBackend::kName) {
    return std::make_unique<virtualmidi::VirtualBackend>();
  }
#ifdef TONVIK_HAVE_JACK
  if (name == jackmidi::JackBackend::kName) return std::make_unique<jackmidi::JackBackend>();
#endif
  return nullptr;
}

}  // namespace coremidi
