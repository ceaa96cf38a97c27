// The string objects behind CFStringRef, for the rest of the MIDI system.
#pragma once

#include <string>
#include <string_view>

#include "CFString.h"

namespace coremidi {

// A new string holding UTF-8 text; the caller releases it.
CFStringRef makeString(std::string_view utf8);
// A string that is never freed, for the constants of the API.
CFStringRef makePermanentString(std::string_view utf8);
std::string stringText(CFStringRef string);
long liveStrings();

}  // namespace coremidi
