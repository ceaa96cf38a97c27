#include "Value.h"

namespace tonvik {

Value Value::newList(std::vector<Value> items) {
  auto list = std::make_shared<LinearList>();
  list->items = std::move(items);
  return Value::list(std::move(list));
}

Value Value::newPropList() {
  return Value::propList(std::make_shared<PropertyList>());
}

const void* Value::reference() const {
  switch (kind()) {
    case ValueKind::List:
      return std::get<5>(data_).get();
    case ValueKind::PropList:
      return std::get<6>(data_).get();
    case ValueKind::Instance:
      return std::get<8>(data_).get();
    default:
      return nullptr;
  }
}

bool keysMatch(const Value& a, const Value& b) {
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case ValueKind::Void:
      return true;
    case ValueKind::Integer:
      return a.asInteger() == b.asInteger();
    case ValueKind::Float:
      return a.asFloat() == b.asFloat();
    case ValueKind::String:
      return a.asString() == b.asString();
    case ValueKind::Symbol:
      return a.asSymbol() == b.asSymbol();
    case ValueKind::Xtra:
      return a.asXtra().name == b.asXtra().name;
    default:
      return a.reference() == b.reference();
  }
}

Property* PropertyList::find(const Value& key) {
  for (Property& entry : entries) {
    if (keysMatch(entry.key, key)) return &entry;
  }
  return nullptr;
}

void PropertyList::add(Value key, Value value) {
  entries.push_back(Property{std::move(key), std::move(value)});
}

}  // namespace tonvik
