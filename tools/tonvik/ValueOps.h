// Lingo's arithmetic, comparison and truth on script values. Failures throw ScriptError.
#pragma once

#include <optional>
#include <string_view>

#include "Value.h"

namespace tonvik {

enum class ArithmeticOp { Add, Subtract, Multiply, Divide, Mod };

// Integers stay integers (wrapping at 32 bits, dividing towards zero, mod keeping the sign of
// the dividend); a float operand makes a float; strings that read as numbers count as numbers.
Value arithmetic(ArithmeticOp op, const Value& left, const Value& right);
Value negate(const Value& operand);

// `=`: numbers by value (a numeric string and VOID, as 0, included), strings and symbols by name
// ignoring case, lists by their contents, instances by identity.
bool lingoEquals(const Value& left, const Value& right);

// Negative, zero or positive, for `<` and its kin: numbers by value, text ignoring case.
int lingoCompare(const Value& left, const Value& right);

// What `if` and `and`/`or`/`not` make of a value: a number is true when it is not 0, VOID is false.
bool isTrue(const Value& value);

// The number a string spells (blanks around it allowed), if it spells one.
std::optional<Value> parseNumber(std::string_view text);

// A copy of the value in which every list, at every depth, is a new list.
Value deepCopy(const Value& value);

// Lingo's name of an operand's kind, for error messages, e.g. `string "abc"`.
std::string describeValue(const Value& value);

}  // namespace tonvik
