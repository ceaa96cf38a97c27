// The port lists that scripts choose from by position.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// First the display name, second the endpoint identifier that finds the endpoint again.
typedef std::pair<std::string, std::string> DeviceListEntry;

class DeviceList {
 public:
  void clear();
  void append(const DeviceListEntry& entry);
  std::int32_t size() const;
  // Callers check the index first; a bad index is a programming error.
  DeviceListEntry at(std::int32_t index) const;

 private:
  std::vector<DeviceListEntry> devices_;
};
