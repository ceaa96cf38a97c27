#include "Symbol.h"

#include <memory>
#include <mutex>
#include <unordered_map>

#include "CaseFold.h"

namespace tonvik {

namespace {

struct SymbolTable {
  std::mutex mutex;
  std::unordered_map<std::string, std::unique_ptr<std::string>> byFoldedName;
};

SymbolTable& table() {
  static SymbolTable instance;
  return instance;
}

}  // namespace

Symbol Symbol::intern(std::string_view name) {
  SymbolTable& symbols = table();
  std::lock_guard lock(symbols.mutex);
  auto [it, inserted] = symbols.byFoldedName.try_emplace(foldCase(name));
  if (inserted) it->second = std::make_unique<std::string>(name);
  return Symbol(it->second.get());
}

}  // namespace tonvik
