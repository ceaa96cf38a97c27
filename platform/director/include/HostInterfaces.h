// The host interfaces an Xtra uses to make, read and release Lingo values, to allocate memory and
// to reach the host's other services. Every operation returns a HostStatus (0 for success) except
// ListItemCount and the allocator's.
#pragma once

#include <cstdint>

#include "HostTypes.h"
#include "LingoValue.h"

// Published identifiers of the host's interfaces, asked for through HostCallback.
constexpr HostInterfaceId kIID_HostValueInterface{{0x7a1c0001u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};
constexpr HostInterfaceId kIID_HostListInterface{{0x7a1c0002u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};
constexpr HostInterfaceId kIID_HostAllocator{{0x7a1c0003u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};
constexpr HostInterfaceId kIID_HostCallback{{0x7a1c0004u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};

class HostValueInterface : public IMoaUnknown {
 public:
  virtual HostStatus InternSymbol(const char* name, LingoSymbol* out) = 0;
  virtual HostStatus ValueTypeOf(const LingoValue* value, std::int32_t* outType) = 0;
  virtual HostStatus ReleaseValue(LingoValue* value) = 0;
  virtual HostStatus ReadIntegerValue(const LingoValue* value, std::int32_t* out) = 0;
  virtual HostStatus ReadSymbolValue(const LingoValue* value, LingoSymbol* out) = 0;
  virtual HostStatus MakeIntegerValue(std::int32_t number, LingoValue* out) = 0;
  virtual HostStatus MakeSymbolValue(LingoSymbol symbol, LingoValue* out) = 0;
  virtual HostStatus MakeStringValue(const char* text, LingoValue* out) = 0;

 protected:
  ~HostValueInterface() = default;
};

class HostListInterface : public IMoaUnknown {
 public:
  virtual HostStatus NewLinearList(LingoValue* out) = 0;
  // The list keeps its own reference to the item; the caller still releases its own.
  virtual HostStatus AppendListItem(LingoValue* list, const LingoValue* item) = 0;
  // Items of a linear list or properties of a property list; 0 for anything else.
  virtual std::int32_t ListItemCount(const LingoValue* list) = 0;
  // One-based; on a property list yields the value of the property. The caller releases *out.
  virtual HostStatus GetListItem(const LingoValue* list, std::int32_t position, LingoValue* out) = 0;
  virtual HostStatus NewPropertyList(LingoValue* out) = 0;
  // The list keeps its own references to key and value.
  virtual HostStatus AppendProperty(LingoValue* propList, const LingoValue* key,
                                    const LingoValue* value) = 0;

 protected:
  ~HostListInterface() = default;
};

class HostAllocator : public IMoaUnknown {
 public:
  // Null when memory is exhausted.
  virtual void* AllocateBlock(std::uint32_t size) = 0;
  virtual void FreeBlock(void* block) = 0;

 protected:
  ~HostAllocator() = default;
};

// The host's service provider: hands out its other interfaces by identifier (with a reference).
class HostCallback : public IMoaUnknown {
 protected:
  ~HostCallback() = default;
};
