#include "HostValues.h"

#include "Limits.h"
#include "ScriptError.h"

namespace tonvik {

namespace {

// A list that contains itself cannot be handed over; deep nesting is refused long before the
// stack would be at risk.
LingoValue toHost(director::ValueStore& store, const Value& value, int depth) {
  if (depth > kMaxXtraListNesting) throw ScriptError("list nested too deeply to pass to an Xtra");
  switch (value.kind()) {
    case ValueKind::Void:
      return store.makeVoid();
    case ValueKind::Integer:
      return store.makeInteger(value.asInteger());
    case ValueKind::Float:
      return store.makeFloat(value.asFloat());
    case ValueKind::String:
      return store.makeString(value.asString());
    case ValueKind::Symbol:
      return store.makeSymbol(value.asSymbol().name());
    case ValueKind::List: {
      LingoValue list = store.makeLinearList();
      for (const Value& item : value.asList().items) {
        LingoValue hostItem{};
        try {
          hostItem = toHost(store, item, depth + 1);
        } catch (...) {
          store.release(list);
          throw;
        }
        store.append(list, hostItem);
        store.release(hostItem);
      }
      return list;
    }
    case ValueKind::PropList: {
      LingoValue list = store.makePropertyList();
      for (const Property& property : value.asPropList().entries) {
        LingoValue key{};
        LingoValue item{};
        try {
          key = toHost(store, property.key, depth + 1);
          item = toHost(store, property.value, depth + 1);
        } catch (...) {
          store.release(key);
          store.release(list);
          throw;
        }
        store.appendProperty(list, key, item);
        store.release(key);
        store.release(item);
      }
      return list;
    }
    case ValueKind::Xtra:
    case ValueKind::Instance:
      throw ScriptError("an Xtra or an instance cannot be passed to an Xtra");
  }
  return store.makeVoid();
}

}  // namespace

LingoValue toHostValue(director::ValueStore& store, const Value& value) {
  return toHost(store, value, 0);
}

Value fromHostValue(director::ValueStore& store, const LingoValue& value) {
  switch (store.kind(value)) {
    case director::ValueKind::Void:
      return Value();
    case director::ValueKind::Integer:
      return Value::integer(store.integer(value));
    case director::ValueKind::Float:
      return Value::floating(store.floatValue(value));
    case director::ValueKind::String:
      return Value::string(store.string(value));
    case director::ValueKind::Symbol:
      return Value::symbol(store.symbolName(store.symbol(value)));
    case director::ValueKind::LinearList: {
      Value list = Value::newList();
      for (std::int32_t i = 1; i <= store.count(value); ++i) {
        LingoValue item = store.itemAt(value, i);
        list.asList().items.push_back(fromHostValue(store, item));
        store.release(item);
      }
      return list;
    }
    case director::ValueKind::PropertyList: {
      Value list = Value::newPropList();
      for (std::int32_t i = 1; i <= store.count(value); ++i) {
        LingoValue key = store.keyAt(value, i);
        LingoValue item = store.itemAt(value, i);
        list.asPropList().add(fromHostValue(store, key), fromHostValue(store, item));
        store.release(key);
        store.release(item);
      }
      return list;
    }
  }
  return Value();
}

}  // namespace tonvik
