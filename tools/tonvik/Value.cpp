#include "Value.h"

#include "Limits.h"

namespace tonvik {

LinearList::LinearList() : Container(Kind::List) {}
LinearList::~LinearList() = default;
PropertyList::PropertyList() : Container(Kind::PropList) {}
PropertyList::~PropertyList() = default;

void LinearList::clearValues() {
  items.clear();
}

void PropertyList::clearValues() {
  entries.clear();
}

Value Value::string(std::string v) {
  checkStringLength(v.size());
  return Value(Data(std::in_place_index<3>, std::make_shared<const std::string>(std::move(v))));
}

Value Value::newList(std::vector<Value> items) {
  boost::intrusive_ptr<LinearList> list(new LinearList);
  list->items = std::move(items);
  return Value(Data(std::move(list)));
}

Value Value::newPropList() {
  return Value(Data(boost::intrusive_ptr<PropertyList>(new PropertyList)));
}

const void* Value::reference() const {
  if (const Container* list = container()) return list;
  if (kind() == ValueKind::Instance) return std::get<8>(data_).get();
  return nullptr;
}

Container* Value::container() const {
  switch (kind()) {
    case ValueKind::List:
      return std::get<5>(data_).get();
    case ValueKind::PropList:
      return std::get<6>(data_).get();
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
