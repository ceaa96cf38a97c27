// Builds the platform's instance for a new scripting object.
#pragma once

#include "HostInterfaces.h"
#include "TonvikBase.h"

// Null when memory for the instance cannot be had.
TonvikBase* createPlatformInstance(HostValueInterface* valueInterface,
                                   HostListInterface* listInterface, HostAllocator* allocator);
