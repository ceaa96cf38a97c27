// The host functions through which a script drives the MIDI system and the host itself:
// virtualMidiSetup and its relatives, virtualMidiFail, hostFailAllocations, hostLiveValues.
#pragma once

#include <memory>

#include "Interpreter.h"
#include "LoaderBridge.h"
#include "Options.h"

namespace tonvik {

void registerMidiHostFunctions(Interpreter& interpreter, std::shared_ptr<HostState> host,
                               MidiSystem midi);

}  // namespace tonvik
