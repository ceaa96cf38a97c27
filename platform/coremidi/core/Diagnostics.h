// The MIDI system's one way to tell a person something: a line on standard error, or to the sink
// a test has set (midisystem::setDiagnosticSink). Formatting and writing allocate and take locks,
// so no real-time thread (JACK's process thread, a read procedure) calls it: such a thread leaves
// a flag or a count that a thread of the system reports.
#pragma once

namespace coremidi {

// One line, without its line feed.
void diagnose(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace coremidi
