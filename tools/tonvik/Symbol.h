// Lingo symbols: interned once per process, compared case-insensitively, printed with the
// spelling under which they were first interned.
#pragma once

#include <string>
#include <string_view>

namespace tonvik {

class Symbol {
 public:
  static Symbol intern(std::string_view name);

  const std::string& name() const { return *name_; }
  bool operator==(const Symbol& other) const { return name_ == other.name_; }

 private:
  explicit Symbol(const std::string* name) : name_(name) {}

  // Points into the process-wide table, which never frees an entry.
  const std::string* name_;
};

}  // namespace tonvik
