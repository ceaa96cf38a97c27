// Control of the process's one MIDI system, for tests and for the host tool: call counts,
// failure injection, waiting for sends in flight, and backend choice. Not for the Xtra.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace midisystem {

// Calls of the MIDI API that can be told to fail. SysexComplete makes MIDISendSysex accept the
// request but never send it nor complete it.
enum class Failure {
  ClientCreate,
  InputPortCreate,
  OutputPortCreate,
  ConnectSource,
  Send,
  SendSysex,
  SysexComplete,
};

// The next `count` calls of that kind fail (adds to any count still pending).
void failNext(Failure failure, int count = 1);
void clearFailures();
// Reads "clientCreate", "inputPortCreate", "outputPortCreate", "connectSource", "send",
// "sendSysex", "sysexComplete"; false for any other name.
bool failureFromName(std::string_view name, Failure& failure);

// Number of MIDI clients that exist now.
int clientCount();
// Number of strings alive, so a test can prove that every string made was released.
long liveStringCount();

// Calls made to a function of the C API since the last reset, by its name
// ("MIDIGetNumberOfDevices", "CFStringGetCString", ...).
std::uint64_t callCount(std::string_view function);
std::uint64_t totalCallCount();
void resetCallCounts();

// Waits until every send in flight (scheduled packets, system-exclusive transfers that will
// complete, packets on their way to read procedures) has been delivered. False on timeout.
// Call it from the host thread, never from a read or completion procedure.
bool waitUntilDelivered(double timeoutSeconds = 10.0);

// Runs this thread's run loop for that long, delivering its clients' notifications.
void runRunLoop(double seconds);

// Gates the system-exclusive thread: only `chunks` more chunks go out until the next call;
// a negative count lifts the gate (the default). Lets a test stop a transfer midway.
void limitSysexChunks(int chunks);
// Chunks sent by the system-exclusive thread since the process started.
std::uint64_t sysexChunksSent();
// Largest chunk of a system-exclusive transfer: each chunk reaches the destination as a packet,
// and the last one never holds a single byte (the closing F7 alone).
inline constexpr unsigned kSysexChunkSize = 256;

// Where the system's diagnostic lines ("MIDI system: ...", "JACK backend: ...") go: standard
// error, or, while a sink is set, the sink, one line per call without its line feed. Lines may
// come from any of the system's threads but one at a time; a sink must not set another. An empty
// sink restores standard error.
using DiagnosticSink = std::function<void(const std::string& line)>;
void setDiagnosticSink(DiagnosticSink sink);

// The backend that feeds the system: "virtual" (the default). Chosen by the environment variable
// TONVIK_MIDI_BACKEND or by this call, before the system is first used; false if it is too late
// or the name is unknown.
bool selectBackend(std::string_view name);
std::string backendName();

}  // namespace midisystem
