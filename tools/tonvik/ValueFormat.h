// How values read in the message window, and as text.
#pragma once

#include <string>
#include <string_view>

#include "Value.h"

namespace tonvik {

// As `put` shows a value: strings in double quotes, floats with four decimals, lists in brackets.
std::string formatValue(const Value& value);

// As `string()`, `&` and `&&` see a value: a string is its own text, VOID is empty, the rest
// print as `put` shows them.
std::string displayText(const Value& value);

std::string formatFloat(double value);

// `a & b` (separator "") and `a && b` (" "): the text of both, its length checked against the
// string limit before anything is copied.
std::string joinText(const Value& left, std::string_view separator, const Value& right);
// Appends the separator and the text of `value`, checking the limit first.
void appendText(std::string& text, std::string_view separator, const Value& value);

}  // namespace tonvik
