// Everything the MIDI platform offers to an Xtra, in one include.
#pragma once

#include "CFString.h"
#include "HostTime.h"
#include "MidiServices.h"
#include "PlatformTypes.h"
#include "RunLoop.h"
