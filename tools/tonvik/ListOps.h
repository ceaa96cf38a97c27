// Lingo's list operations, shared by the built-in functions and by `list[i]` and `plist.key`.
// Positions count from 1. Failures throw ScriptError naming `function`.
#pragma once

#include <cstdint>
#include <string_view>

#include "Value.h"

namespace tonvik {

std::int32_t requireInteger(const Value& value, std::string_view function);
// The list or property list itself; anything else is an error.
void requireAnyList(const Value& value, std::string_view function);
LinearList& requireList(const Value& value, std::string_view function);
PropertyList& requirePropList(const Value& value, std::string_view function);

std::int32_t countOf(const Value& list, std::string_view function);
// By position, in a linear list or a property list (its values).
Value getAt(const Value& list, const Value& position, std::string_view function);
// A linear list grows to reach the position, padding with 0; a property list does not grow.
void setAt(const Value& list, const Value& position, Value item, std::string_view function);
void deleteAt(const Value& list, const Value& position, std::string_view function);

// Property lookups; on a linear list the key is a position.
Value getProp(const Value& list, const Value& key, std::string_view function);
Value getaProp(const Value& list, const Value& key, std::string_view function);
void setaProp(const Value& list, const Value& key, Value item, std::string_view function);

}  // namespace tonvik
