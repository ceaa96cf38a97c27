// The one place where the tool connects the interpreter to the host: the Xtras (through an
// XtraBridge), the host functions that drive the MIDI system, and the run loop behind `wait`.
#pragma once

#include <memory>

#include "Interpreter.h"
#include "LoaderBridge.h"
#include "Options.h"

namespace tonvik {

// Returns the host, whose value store counts what the Xtras hold. Throws std::runtime_error when
// the host cannot be set up (the message is shown to the user).
std::shared_ptr<HostState> installHost(Interpreter& interpreter, const Options& options);

}  // namespace tonvik
