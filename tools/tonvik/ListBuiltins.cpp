#include <string>

#include "Builtins.h"
#include "Limits.h"
#include "ListOps.h"
#include "ScriptError.h"
#include "ValueOps.h"

namespace tonvik {

namespace {

using Args = std::vector<Value>;

// The position of the first item equal to `item` (as `=` sees it), 0 if there is none.
std::int32_t positionOf(const Value& list, const Value& item, std::string_view function) {
  requireAnyList(list, function);
  if (list.kind() == ValueKind::List) {
    const auto& items = list.asList().items;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (lingoEquals(items[i], item)) return lingoCount(i + 1, function);
    }
    return 0;
  }
  const auto& entries = list.asPropList().entries;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (lingoEquals(entries[i].value, item)) return lingoCount(i + 1, function);
  }
  return 0;
}

Value appendItem(const Args& args, std::string_view function) {
  LinearList& list = requireList(args[0], function);
  list.items.push_back(args[1]);
  return Value();
}

const Builtin kListBuiltins[] = {
    {"count", 1, 1, [](const Args& a) { return Value::integer(countOf(a[0], "count")); }},
    {"getAt", 2, 2, [](const Args& a) { return getAt(a[0], a[1], "getAt"); }},
    {"setAt", 3, 3,
     [](const Args& a) {
       setAt(a[0], a[1], a[2], "setAt");
       return Value();
     }},
    {"getProp", 2, 2, [](const Args& a) { return getProp(a[0], a[1], "getProp"); }},
    {"getaProp", 2, 2, [](const Args& a) { return getaProp(a[0], a[1], "getaProp"); }},
    {"setaProp", 3, 3,
     [](const Args& a) {
       setaProp(a[0], a[1], a[2], "setaProp");
       return Value();
     }},
    {"setProp", 3, 3,
     [](const Args& a) {
       if (a[0].kind() == ValueKind::List) {
         setAt(a[0], a[1], a[2], "setProp");
         return Value();
       }
       Property* entry = requirePropList(a[0], "setProp").find(a[1]);
       if (entry == nullptr) getProp(a[0], a[1], "setProp");
       entry->value = a[2];
       return Value();
     }},
    {"add", 2, 2, [](const Args& a) { return appendItem(a, "add"); }},
    {"append", 2, 2, [](const Args& a) { return appendItem(a, "append"); }},
    {"addProp", 3, 3,
     [](const Args& a) {
       requirePropList(a[0], "addProp").add(a[1], a[2]);
       return Value();
     }},
    {"deleteAt", 2, 2,
     [](const Args& a) {
       deleteAt(a[0], a[1], "deleteAt");
       return Value();
     }},
    {"deleteProp", 2, 2,
     [](const Args& a) {
       if (a[0].kind() == ValueKind::List) {
         deleteAt(a[0], a[1], "deleteProp");
         return Value();
       }
       auto& entries = requirePropList(a[0], "deleteProp").entries;
       for (auto it = entries.begin(); it != entries.end(); ++it) {
         if (keysMatch(it->key, a[1])) {
           entries.erase(it);
           break;
         }
       }
       return Value();
     }},
    {"deleteOne", 2, 2,
     [](const Args& a) {
       std::int32_t position = positionOf(a[0], a[1], "deleteOne");
       if (position > 0) deleteAt(a[0], Value::integer(position), "deleteOne");
       return Value();
     }},
    {"getPos", 2, 2,
     [](const Args& a) { return Value::integer(positionOf(a[0], a[1], "getPos")); }},
    {"getOne", 2, 2,
     [](const Args& a) {
       std::int32_t position = positionOf(a[0], a[1], "getOne");
       if (a[0].kind() == ValueKind::List || position == 0) return Value::integer(position);
       return a[0].asPropList().entries[static_cast<std::size_t>(position - 1)].key;
     }},
    {"getPropAt", 2, 2,
     [](const Args& a) {
       PropertyList& props = requirePropList(a[0], "getPropAt");
       std::int32_t position = requireInteger(a[1], "getPropAt");
       if (position < 1 || static_cast<std::size_t>(position) > props.entries.size()) {
         getAt(a[0], a[1], "getPropAt");
       }
       return props.entries[static_cast<std::size_t>(position - 1)].key;
     }},
    {"findPos", 2, 2,
     [](const Args& a) {
       const auto& entries = requirePropList(a[0], "findPos").entries;
       for (std::size_t i = 0; i < entries.size(); ++i) {
         if (keysMatch(entries[i].key, a[1])) return Value::integer(lingoCount(i + 1, "findPos"));
       }
       return Value();
     }},
    {"getLast", 1, 1,
     [](const Args& a) {
       std::int32_t count = countOf(a[0], "getLast");
       return count == 0 ? Value() : getAt(a[0], Value::integer(count), "getLast");
     }},
    {"duplicate", 1, 1, [](const Args& a) { return deepCopy(a[0]); }},
    {"list", 0, -1, [](const Args& a) { return Value::newList(a); }},
};

}  // namespace

std::span<const Builtin> listBuiltins() {
  return kListBuiltins;
}

}  // namespace tonvik
