// Per-function call counts of the C API, so a test can prove that a cached answer made no query.
#pragma once

#include <cstdint>

#define COREMIDI_API_FUNCTIONS(X)      \
  X(MIDIClientCreate)                  \
  X(MIDIClientDispose)                 \
  X(MIDIInputPortCreate)               \
  X(MIDIOutputPortCreate)              \
  X(MIDIPortDispose)                   \
  X(MIDIPortConnectSource)             \
  X(MIDIPortDisconnectSource)          \
  X(MIDISend)                          \
  X(MIDISendSysex)                     \
  X(MIDIGetNumberOfDevices)            \
  X(MIDIGetDevice)                     \
  X(MIDIDeviceGetNumberOfEntities)     \
  X(MIDIDeviceGetEntity)               \
  X(MIDIEntityGetDevice)               \
  X(MIDIEntityGetNumberOfSources)      \
  X(MIDIEntityGetSource)               \
  X(MIDIEntityGetNumberOfDestinations) \
  X(MIDIEntityGetDestination)          \
  X(MIDIEndpointGetEntity)             \
  X(MIDIGetNumberOfSources)            \
  X(MIDIGetSource)                     \
  X(MIDIGetNumberOfDestinations)       \
  X(MIDIGetDestination)                \
  X(MIDIObjectGetStringProperty)       \
  X(MIDIObjectGetIntegerProperty)      \
  X(MIDIPacketListInit)                \
  X(MIDIPacketListAdd)                 \
  X(CFStringCreateWithCString)         \
  X(CFStringGetLength)                 \
  X(CFStringGetMaximumSizeForEncoding) \
  X(CFStringGetCString)                \
  X(CFRetain)                          \
  X(CFRelease)                         \
  X(AudioGetCurrentHostTime)           \
  X(AudioConvertHostTimeToNanos)       \
  X(AudioConvertNanosToHostTime)       \
  X(CFRunLoopRunInMode)

namespace coremidi {

enum class ApiFunction : int {
#define COREMIDI_ENUM_ENTRY(name) name,
  COREMIDI_API_FUNCTIONS(COREMIDI_ENUM_ENTRY)
#undef COREMIDI_ENUM_ENTRY
      Count
};

inline constexpr int kApiFunctionCount = static_cast<int>(ApiFunction::Count);

// Lock-free and allocation-free: host time is read on the receive thread too.
void countCall(ApiFunction function);
std::uint64_t callsOf(ApiFunction function);
const char* apiFunctionName(ApiFunction function);
void resetCalls();

}  // namespace coremidi
