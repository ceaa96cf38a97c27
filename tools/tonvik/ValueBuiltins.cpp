#include <cmath>
#include <limits>
#include <string>

#include "Builtins.h"
#include "CaseFold.h"
#include "Limits.h"
#include "ScriptError.h"
#include "ValueFormat.h"
#include "ValueOps.h"

namespace tonvik {

namespace {

using Args = std::vector<Value>;

Value ilkOf(const Value& value) {
  switch (value.kind()) {
    case ValueKind::Void:
      return Value::symbol("void");
    case ValueKind::Integer:
      return Value::symbol("integer");
    case ValueKind::Float:
      return Value::symbol("float");
    case ValueKind::String:
      return Value::symbol("string");
    case ValueKind::Symbol:
      return Value::symbol("symbol");
    case ValueKind::List:
      return Value::symbol("list");
    case ValueKind::PropList:
      return Value::symbol("propList");
    case ValueKind::Xtra:
      return Value::symbol("xtra");
    case ValueKind::Instance:
      return Value::symbol("instance");
  }
  return Value();
}

Value ilk(const Args& a) {
  Value kind = ilkOf(a[0]);
  if (a.size() == 1) return kind;
  if (a[1].kind() != ValueKind::Symbol) {
    throw ScriptError("ilk: expected a symbol as the type, got " + describeValue(a[1]));
  }
  // A property list is a list too, as Director's ilk(x, #list) has it.
  bool isList = a[1].asSymbol() == Symbol::intern("list") && a[0].kind() == ValueKind::PropList;
  return Value::boolean(isList || kind.asSymbol() == a[1].asSymbol());
}

Value toInteger(const Args& a) {
  Value number = a[0];
  if (number.kind() == ValueKind::String) {
    auto parsed = parseNumber(number.asString());
    if (!parsed) return Value();
    number = *parsed;
  }
  if (number.kind() == ValueKind::Integer) return number;
  if (number.kind() != ValueKind::Float) return Value();
  double rounded = std::round(number.asFloat());
  if (!(rounded >= std::numeric_limits<std::int32_t>::min() &&
        rounded <= std::numeric_limits<std::int32_t>::max())) {
    throw ScriptError("integer: " + formatValue(number) + " is out of the integer range");
  }
  return Value::integer(static_cast<std::int32_t>(rounded));
}

Value toFloat(const Args& a) {
  Value number = a[0];
  if (number.kind() == ValueKind::String) {
    auto parsed = parseNumber(number.asString());
    if (!parsed) return Value();
    number = *parsed;
  }
  if (number.kind() == ValueKind::Integer) return Value::floating(number.asInteger());
  if (number.kind() == ValueKind::Float) return number;
  return Value();
}

Value toSymbol(const Args& a) {
  if (a[0].kind() == ValueKind::Symbol) return a[0];
  if (a[0].kind() == ValueKind::String && !a[0].asString().empty()) {
    return Value::symbol(a[0].asString());
  }
  return Value();
}

// The text of a value that reads as text: strings, numbers and symbols.
std::string textArgument(const Value& value, std::string_view function) {
  if (value.kind() == ValueKind::String || value.kind() == ValueKind::Symbol || value.isNumber()) {
    return displayText(value);
  }
  throw ScriptError(std::string(function) + ": expected a string, got " + describeValue(value));
}

std::int32_t integerArgument(const Value& value, std::string_view function) {
  if (value.kind() != ValueKind::Integer) {
    throw ScriptError(std::string(function) + ": expected an integer, got " + describeValue(value));
  }
  return value.asInteger();
}

Value chars(const Args& a) {
  std::string text = textArgument(a[0], "chars");
  std::int64_t first = std::max<std::int64_t>(integerArgument(a[1], "chars"), 1);
  std::int64_t last = std::min<std::int64_t>(integerArgument(a[2], "chars"),
                                             static_cast<std::int64_t>(text.size()));
  if (first > last) return Value::string("");
  return Value::string(
      text.substr(static_cast<std::size_t>(first - 1), static_cast<std::size_t>(last - first + 1)));
}

Value offset(const Args& a) {
  std::string needle = foldCase(textArgument(a[0], "offset"));
  std::string haystack = foldCase(textArgument(a[1], "offset"));
  if (needle.empty()) return Value::integer(0);
  auto found = haystack.find(needle);
  return Value::integer(found == std::string::npos ? 0 : lingoCount(found + 1, "offset"));
}

Value absolute(const Args& a) {
  if (a[0].kind() == ValueKind::Float) return Value::floating(std::fabs(a[0].asFloat()));
  Value number = a[0];
  if (number.kind() == ValueKind::Integer && number.asInteger() < 0) return negate(number);
  if (number.kind() != ValueKind::Integer) {
    throw ScriptError("abs: expected a number, got " + describeValue(number));
  }
  return number;
}

template <ValueKind... kinds>
Value isKind(const Args& a) {
  return Value::boolean(((a[0].kind() == kinds) || ...));
}

const Builtin kValueBuiltins[] = {
    {"ilk", 1, 2, ilk},
    {"voidp", 1, 1, isKind<ValueKind::Void>},
    {"listp", 1, 1, isKind<ValueKind::List, ValueKind::PropList>},
    {"symbolp", 1, 1, isKind<ValueKind::Symbol>},
    {"integerp", 1, 1, isKind<ValueKind::Integer>},
    {"floatp", 1, 1, isKind<ValueKind::Float>},
    {"stringp", 1, 1, isKind<ValueKind::String>},
    {"objectp", 1, 1,
     isKind<ValueKind::List, ValueKind::PropList, ValueKind::Xtra, ValueKind::Instance>},
    {"string", 1, 1, [](const Args& a) { return Value::string(displayText(a[0])); }},
    {"integer", 1, 1, toInteger},
    {"float", 1, 1, toFloat},
    {"symbol", 1, 1, toSymbol},
    {"length", 1, 1,
     [](const Args& a) {
       // A string's own text, not a copy of it: strings may be long.
       std::size_t length = a[0].kind() == ValueKind::String ? a[0].asString().size()
                                                             : textArgument(a[0], "length").size();
       return Value::integer(lingoCount(length, "length"));
     }},
    {"chars", 3, 3, chars},
    {"offset", 2, 2, offset},
    {"abs", 1, 1, absolute},
};

}  // namespace

std::span<const Builtin> valueBuiltins() {
  return kValueBuiltins;
}

}  // namespace tonvik
