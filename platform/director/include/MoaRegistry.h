// The host's registry as an Xtra sees it during registration: a cache of entries, each keyed by
// a class and an interface, each with a dictionary of typed values.
#pragma once

#include <cstdint>

#include "HostTypes.h"

// Identifier under which an Xtra registers its load-control options.
constexpr HostInterfaceId kIID_XtraLoadControl{{0x7a1c0011u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};

// Value type codes of dictionary entries.
enum MoaDictType : std::int32_t {
  kMoaDictTypeInteger = 3,  // a 32-bit integer; size 0
  kMoaDictTypeBoolean = 6,  // one byte, 0 or 1; size 1
  kMoaDictTypeCString = 9,  // NUL-terminated text; size 0
};

class IMoaDict : public IMoaUnknown {
 public:
  // Stores a copy of the value under key, replacing an earlier one. A size of 0 means the size
  // the type implies (4 for an integer, the length with its NUL for a C string).
  virtual HostStatus Put(std::int32_t type, const void* value, std::int32_t size,
                         const char* key) = 0;

 protected:
  ~IMoaDict() = default;
};

class IMoaCache : public IMoaUnknown {
 public:
  // Adds (or finds) the entry of a class and interface in the Xtra's dictionary and hands out
  // the entry's own dictionary. The entry dictionary is the cache's; the caller does not release
  // it.
  virtual HostStatus AddRegistryEntry(IMoaDict* xtraDict, const HostInterfaceId* classId,
                                      const HostInterfaceId* interfaceId,
                                      IMoaDict** outEntryDict) = 0;

 protected:
  ~IMoaCache() = default;
};

constexpr HostInterfaceId kIID_IMoaRegister{{0x7a1c0012u, 0x4d6fu, 0x11d0u, 0x8c2a0001u}};

class IMoaRegister : public IMoaUnknown {
 public:
  virtual HostStatus Register(IMoaCache* cache, IMoaDict* xtraDict) = 0;

 protected:
  ~IMoaRegister() = default;
};
