// Basic types shared by the host and every Xtra: statuses, interface identifiers and the
// reference-counted interface base from which every host and Xtra interface derives.
#pragma once

#include <cstdint>

// A host status: 0 for success, a negative 0x8004xxxx value for a failure.
using HostStatus = std::int32_t;

constexpr HostStatus kHostOk = 0;
// Statuses of the component model (class factory, interfaces, memory).
constexpr HostStatus kHostErrOutOfMemory = static_cast<HostStatus>(0x80040002u);
constexpr HostStatus kHostErrCannotUnload = static_cast<HostStatus>(0x80040003u);
constexpr HostStatus kHostErrNoInterface = static_cast<HostStatus>(0x80040004u);
constexpr HostStatus kHostErrNoClass = static_cast<HostStatus>(0x80040005u);
// Statuses of the value operations.
constexpr HostStatus kHostErrWrongType = static_cast<HostStatus>(0x80040101u);
constexpr HostStatus kHostErrBadIndex = static_cast<HostStatus>(0x80040102u);
constexpr HostStatus kHostErrBadValue = static_cast<HostStatus>(0x80040103u);
constexpr HostStatus kHostErrInjected = static_cast<HostStatus>(0x80040104u);

// A 16-byte identifier of a class or an interface, compared as four 32-bit words.
struct HostInterfaceId {
  std::uint32_t words[4];
};

inline bool operator==(const HostInterfaceId& a, const HostInterfaceId& b) {
  return a.words[0] == b.words[0] && a.words[1] == b.words[1] && a.words[2] == b.words[2] &&
         a.words[3] == b.words[3];
}

constexpr HostInterfaceId kNullInterfaceId{{0, 0, 0, 0}};

// The base of every interface that crosses the host/Xtra boundary. Objects are handed out with a
// reference that the receiver gives back with Release.
class IMoaUnknown {
 public:
  virtual HostStatus QueryInterface(const HostInterfaceId* iid, void** out) = 0;
  virtual std::uint32_t AddRef() = 0;
  virtual std::uint32_t Release() = 0;

 protected:
  ~IMoaUnknown() = default;
};
