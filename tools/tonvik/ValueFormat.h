// How values read in the message window, and as text.
#pragma once

#include <string>

#include "Value.h"

namespace tonvik {

// As `put` shows a value: strings in double quotes, floats with four decimals, lists in brackets.
std::string formatValue(const Value& value);

// As `string()`, `&` and `&&` see a value: a string is its own text, VOID is empty, the rest
// print as `put` shows them.
std::string displayText(const Value& value);

std::string formatFloat(double value);

}  // namespace tonvik
