#include "PlatformInstance.h"

#include <new>

#include "MacOsxTonvik.h"

TonvikBase* createPlatformInstance(HostValueInterface* valueInterface,
                                   HostListInterface* listInterface, HostAllocator* allocator) {
  return new (std::nothrow) MacOsxTonvik(valueInterface, listInterface, allocator);
}
