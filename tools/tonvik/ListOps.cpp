#include "ListOps.h"

#include <string>

#include "Limits.h"
#include "ScriptError.h"
#include "ValueFormat.h"
#include "ValueOps.h"

namespace tonvik {

namespace {

// The linear-list padding value when setAt writes past the end.
constexpr std::int32_t kPadding = 0;

// "function: message", or the message alone, capitalised, for `list[i]` which has no name.
std::string prefixed(std::string_view function, std::string message) {
  if (function.empty()) {
    if (!message.empty() && message[0] >= 'a' && message[0] <= 'z') message[0] -= 'a' - 'A';
    return message;
  }
  return std::string(function) + ": " + message;
}

std::size_t requirePosition(std::int32_t position, std::size_t count, std::string_view function) {
  if (position < 1 || static_cast<std::size_t>(position) > count) {
    throw ScriptError(prefixed(function, "index " + std::to_string(position) +
                                             " is out of range (the list has " +
                                             std::to_string(count) + " items)"));
  }
  return static_cast<std::size_t>(position - 1);
}

}  // namespace

std::int32_t requireInteger(const Value& value, std::string_view function) {
  if (value.kind() != ValueKind::Integer) {
    throw ScriptError(prefixed(function, "expected an integer, got " + describeValue(value)));
  }
  return value.asInteger();
}

void requireAnyList(const Value& value, std::string_view function) {
  if (value.kind() != ValueKind::List && value.kind() != ValueKind::PropList) {
    throw ScriptError(prefixed(function, "expected a list, got " + describeValue(value)));
  }
}

LinearList& requireList(const Value& value, std::string_view function) {
  if (value.kind() != ValueKind::List) {
    throw ScriptError(prefixed(function, "expected a linear list, got " + describeValue(value)));
  }
  return value.asList();
}

PropertyList& requirePropList(const Value& value, std::string_view function) {
  if (value.kind() != ValueKind::PropList) {
    throw ScriptError(prefixed(function, "expected a property list, got " + describeValue(value)));
  }
  return value.asPropList();
}

std::int32_t countOf(const Value& list, std::string_view function) {
  requireAnyList(list, function);
  std::size_t count = list.kind() == ValueKind::List ? list.asList().items.size()
                                                     : list.asPropList().entries.size();
  return lingoCount(count, function);
}

Value getAt(const Value& list, const Value& position, std::string_view function) {
  requireAnyList(list, function);
  std::int32_t index = requireInteger(position, function);
  if (list.kind() == ValueKind::List) {
    auto& items = list.asList().items;
    return items[requirePosition(index, items.size(), function)];
  }
  auto& entries = list.asPropList().entries;
  return entries[requirePosition(index, entries.size(), function)].value;
}

void setAt(const Value& list, const Value& position, Value item, std::string_view function) {
  requireAnyList(list, function);
  std::int32_t index = requireInteger(position, function);
  if (list.kind() == ValueKind::PropList) {
    auto& entries = list.asPropList().entries;
    entries[requirePosition(index, entries.size(), function)].value = std::move(item);
    return;
  }
  auto& items = list.asList().items;
  if (index < 1) requirePosition(index, items.size(), function);
  if (static_cast<std::size_t>(index) > valueLimits().maxListGrowth) {
    throw ScriptError(prefixed(function, "index " + std::to_string(index) + " is too large"));
  }
  if (static_cast<std::size_t>(index) > items.size()) {
    items.resize(static_cast<std::size_t>(index), Value::integer(kPadding));
  }
  items[static_cast<std::size_t>(index - 1)] = std::move(item);
}

void deleteAt(const Value& list, const Value& position, std::string_view function) {
  requireAnyList(list, function);
  std::int32_t index = requireInteger(position, function);
  if (list.kind() == ValueKind::List) {
    auto& items = list.asList().items;
    items.erase(items.begin() +
                static_cast<std::ptrdiff_t>(requirePosition(index, items.size(), function)));
    return;
  }
  auto& entries = list.asPropList().entries;
  entries.erase(entries.begin() +
                static_cast<std::ptrdiff_t>(requirePosition(index, entries.size(), function)));
}

Value getProp(const Value& list, const Value& key, std::string_view function) {
  if (list.kind() == ValueKind::List) return getAt(list, key, function);
  Property* entry = requirePropList(list, function).find(key);
  if (entry == nullptr) {
    throw ScriptError(prefixed(function, "property not found: " + formatValue(key)));
  }
  return entry->value;
}

Value getaProp(const Value& list, const Value& key, std::string_view function) {
  if (list.kind() == ValueKind::List) {
    std::int32_t index = requireInteger(key, function);
    auto& items = list.asList().items;
    if (index < 1 || static_cast<std::size_t>(index) > items.size()) return Value();
    return items[static_cast<std::size_t>(index - 1)];
  }
  Property* entry = requirePropList(list, function).find(key);
  return entry == nullptr ? Value() : entry->value;
}

void setaProp(const Value& list, const Value& key, Value item, std::string_view function) {
  if (list.kind() == ValueKind::List) {
    setAt(list, key, std::move(item), function);
    return;
  }
  PropertyList& props = requirePropList(list, function);
  if (Property* entry = props.find(key)) {
    entry->value = std::move(item);
  } else {
    props.add(key, std::move(item));
  }
}

}  // namespace tonvik
