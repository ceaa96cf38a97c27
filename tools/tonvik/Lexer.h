// Splits script text into tokens. Newlines end statements, except inside parentheses and
// brackets and after a continuation character ("¬" or "\"), so long lists can span lines.
#pragma once

#include <string_view>
#include <vector>

#include "Token.h"

namespace tonvik {

// Throws ScriptError with the line of the offending character; an error that more text could
// cure (a continuation at the very end) is marked incomplete.
std::vector<Token> tokenize(std::string_view text);

}  // namespace tonvik
