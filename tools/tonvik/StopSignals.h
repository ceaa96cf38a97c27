// Ctrl-C and SIGTERM while a movie plays: the first asks play to stop at the end of the frame,
// so that stopMovie runs and every instance is released; a second ends the tool at once, as
// either signal does before play begins (a frame handler may never return).
#pragma once

#include "StopRequest.h"

namespace tonvik {

// From now until the process ends, SIGINT and SIGTERM request `stop`, and a second one ends the
// process. `stop` must live as long as the process: the handlers are never taken back, so that
// no signal handled on another thread can meet a request already gone. Call it once.
void catchStopSignals(StopRequest& stop);

}  // namespace tonvik
