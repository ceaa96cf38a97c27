// Memory for interface records, from the host's allocator, and the count of records alive that
// decides whether the bundle may be unloaded.
#pragma once

#include <cstdint>

#include "HostInterfaces.h"

// Interface records of every class now alive; changed on the host thread only.
extern std::int32_t liveInterfaceRecordCount_;

// Retries through the installed new-handler while one is installed; null when none is left.
void* hostAllocate(std::uint32_t size, HostAllocator* allocator);
void hostFree(void* block, HostAllocator* allocator);
