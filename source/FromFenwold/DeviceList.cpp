#include "DeviceList.h"

#include "TonvikAssert.h"

void DeviceList::clear() {
  devices_.clear();
}

void DeviceList::append(const DeviceListEntry& entry) {
  devices_.push_back(entry);
}

std::int32_t DeviceList::size() const {
  return static_cast<std::int32_t>(devices_.size());
}

DeviceListEntry DeviceList::at(std::int32_t index) const {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-compare"
  // The sign is tested first, so the unsigned comparison with the size is exact.
  TONVIK_ASSERT(index >= 0 && index < devices_.size());
#pragma GCC diagnostic pop
  return devices_[static_cast<std::size_t>(index)];
}
