// The message window's lexer and parser on arbitrary text: a script error is the only
// acceptable failure; anything else escaping, a crash or a hang is a finding.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Lexer.h"
#include "Parser.h"
#include "ScriptError.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    tonvik::tokenize(text);
  } catch (const tonvik::ScriptError&) {
  }
  try {
    tonvik::parseScript(text);
  } catch (const tonvik::ScriptError&) {
  }
  return 0;
}
