// Lingo values as an Xtra sees them: opaque records and symbol handles, never looked inside.
#pragma once

#include <cstdint>

// One Lingo value, owned by whoever supplied the storage; released once with ReleaseValue.
// The all-zero record is VOID, so a default-initialised record needs no release.
struct LingoValue {
  std::uint64_t opaque = 0;
};
static_assert(sizeof(LingoValue) == 8, "a Lingo value record is 8 bytes");

// An interned symbol; two symbols are the same exactly when their handles are equal. Never
// released.
using LingoSymbol = std::uint32_t;

// Type codes answered by ValueTypeOf. Xtras rely on 1, 2 and 7.
enum LingoValueType : std::int32_t {
  kLingoTypeVoid = 0,
  kLingoTypeInteger = 1,
  kLingoTypeSymbol = 2,
  kLingoTypeString = 3,
  kLingoTypeFloat = 4,
  kLingoTypeObject = 5,
  kLingoTypeLinearList = 7,
  kLingoTypePropertyList = 8,
};
