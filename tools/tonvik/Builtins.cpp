#include "Builtins.h"

#include <string>
#include <unordered_map>

#include "CaseFold.h"

namespace tonvik {

const Builtin* findBuiltin(std::string_view name) {
  static const std::unordered_map<std::string, const Builtin*> byName = [] {
    std::unordered_map<std::string, const Builtin*> map;
    for (auto group : {listBuiltins(), valueBuiltins()}) {
      for (const Builtin& builtin : group) map.emplace(foldCase(builtin.name), &builtin);
    }
    return map;
  }();
  auto it = byName.find(foldCase(name));
  return it == byName.end() ? nullptr : it->second;
}

}  // namespace tonvik
