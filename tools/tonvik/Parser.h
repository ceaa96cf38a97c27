// Turns tokens into a Script. The whole text is parsed before any of it runs, so a syntax error
// anywhere stops the script before its first statement.
#pragma once

#include <string_view>

#include "Ast.h"

namespace tonvik {

// Throws ScriptError with the line of the error; marked incomplete when the text ended inside
// an open block, bracket or expression, so that the message window can read on.
Script parseScript(std::string_view text);

}  // namespace tonvik
