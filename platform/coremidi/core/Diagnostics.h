// The MIDI system's one way to tell a person something: a line on standard error, or to the sink
// a test has set (midisystem::setDiagnosticSink). Formatting and writing allocate and take locks,
// which a real-time thread (JACK's process thread, the receive thread that runs read procedures)
// must not: there a line is only counted, and the next line written says how many were dropped.
#pragma once

namespace coremidi {

// One line, without its line feed.
void diagnose(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Marks the thread that makes it as real-time for as long as it lives.
class RealTimeThread {
 public:
  RealTimeThread();
  ~RealTimeThread();
  RealTimeThread(const RealTimeThread&) = delete;
  RealTimeThread& operator=(const RealTimeThread&) = delete;
};

}  // namespace coremidi
