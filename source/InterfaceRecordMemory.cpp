#include "InterfaceRecordMemory.h"

#include <new>

std::int32_t liveInterfaceRecordCount_ = 0;

void* hostAllocate(std::uint32_t size, HostAllocator* allocator) {
  for (;;) {
    if (void* block = allocator->AllocateBlock(size)) return block;
    // Reading the handler by setting it keeps to the oldest interface the runtime offers.
    const std::new_handler handler = std::set_new_handler(nullptr);
    std::set_new_handler(handler);
    if (handler == nullptr) return nullptr;
    handler();
  }
}

void hostFree(void* block, HostAllocator* allocator) {
  allocator->FreeBlock(block);
}
