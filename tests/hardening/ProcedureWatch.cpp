// Wraps the read procedure of every input port and the completion procedure of every
// system-exclusive send in a watched section, by standing in front of the MIDI system's
// MIDIInputPortCreate and MIDISendSysex. Everything a procedure does on the MIDI system's
// threads is then counted, and nothing the system does around it.
#include <dlfcn.h>

#include <atomic>
#include <cstdlib>

#include "MidiServices.h"
#include "RealtimeProbe.h"

namespace {

using InputPortCreate = OSStatus (*)(MIDIClientRef, CFStringRef, MIDIReadProc, void*, MIDIPortRef*);
using SendSysex = OSStatus (*)(MIDISysexSendRequest*);

template <typename Function>
Function nextDefinition(const char* name) {
  auto* function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
  if (function == nullptr) std::abort();
  return function;
}

// The Xtra hands the same procedures to every port and request, so one slot each suffices.
std::atomic<MIDIReadProc> readProc{nullptr};
std::atomic<MIDICompletionProc> completionProc{nullptr};

void watchedRead(const MIDIPacketList* packets, void* readRefCon, void* connectionRefCon) {
  realtime::WatchedSection section;
  readProc.load(std::memory_order_relaxed)(packets, readRefCon, connectionRefCon);
}

void watchedCompletion(MIDISysexSendRequest* request) {
  realtime::WatchedSection section;
  completionProc.load(std::memory_order_relaxed)(request);
}

}  // namespace

extern "C" OSStatus MIDIInputPortCreate(MIDIClientRef client, CFStringRef portName,
                                        MIDIReadProc proc, void* refCon, MIDIPortRef* outPort) {
  static const InputPortCreate next = nextDefinition<InputPortCreate>("MIDIInputPortCreate");
  readProc.store(proc, std::memory_order_relaxed);
  return next(client, portName, watchedRead, refCon, outPort);
}

extern "C" OSStatus MIDISendSysex(MIDISysexSendRequest* request) {
  static const SendSysex next = nextDefinition<SendSysex>("MIDISendSysex");
  if (request != nullptr && request->completionProc != nullptr) {
    completionProc.store(request->completionProc, std::memory_order_relaxed);
    request->completionProc = watchedCompletion;
  }
  return next(request);
}
