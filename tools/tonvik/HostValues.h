// Conversion between the script's values and the host's Lingo values, at the boundary where the
// message window calls an Xtra. The script keeps its own values; the host values live only for
// the length of one call.
#pragma once

#include "LingoValue.h"
#include "Value.h"
#include "ValueStore.h"

namespace tonvik {

// A new host value holding one reference, which the caller releases. Xtra references and
// instances cannot cross into an Xtra: a script error.
LingoValue toHostValue(director::ValueStore& store, const Value& value);

// A script value with the same contents; the host value stays the caller's.
Value fromHostValue(director::ValueStore& store, const LingoValue& value);

}  // namespace tonvik
