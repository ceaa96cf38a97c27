// Reading an Xtra's message table the way Director does: the Lingo name from the first line,
// then the declared methods numbered in table order from 0.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace director {

struct MethodArgument {
  std::string type;  // "int", "any", ...
  std::string name;
};

struct MethodDeclaration {
  std::string name;
  std::vector<MethodArgument> arguments;  // after `object me`
};

struct MethodTable {
  std::string lingoName;
  std::vector<MethodDeclaration> methods;  // index = method number
};

// Nothing when the first line does not begin "xtra <Name>". Lines whose first non-blank
// characters are "--", and blank lines, declare nothing; text from "--" on is a comment.
std::optional<MethodTable> parseMethodTable(std::string_view text);

}  // namespace director
