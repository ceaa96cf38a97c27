#include "Diagnostics.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include "MidiSystemControl.h"

namespace coremidi {
namespace {

// Lines come from the host thread and the backends' threads; one at a time, so that they never
// interleave and a sink is never replaced while it runs.
std::mutex sinkMutex_;
midisystem::DiagnosticSink sink_;
thread_local bool onRealTimeThread_ = false;
// Relaxed: a count with nothing to order; whichever thread writes next reports it.
std::atomic<unsigned> droppedOnRealTimeThreads_{0};

// The caller holds sinkMutex_.
void write(const std::string& line) {
  if (sink_) {
    sink_(line);
  } else {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
}

}  // namespace

RealTimeThread::RealTimeThread() {
  onRealTimeThread_ = true;
}

RealTimeThread::~RealTimeThread() {
  onRealTimeThread_ = false;
}

void diagnose(const char* format, ...) {
  if (onRealTimeThread_) {
    droppedOnRealTimeThreads_.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list measuring;
  va_copy(measuring, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measuring);
  va_end(measuring);
  std::string line(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  // The string's own terminator takes the NUL that vsnprintf writes.
  if (length > 0) std::vsnprintf(line.data(), line.size() + 1, format, arguments);
  va_end(arguments);

  std::lock_guard lock(sinkMutex_);
  if (const unsigned dropped = droppedOnRealTimeThreads_.exchange(0, std::memory_order_relaxed)) {
    write("MIDI system: " + std::to_string(dropped) +
          " diagnostic lines of a real-time thread were dropped.");
  }
  write(line);
}

}  // namespace coremidi

namespace midisystem {

void setDiagnosticSink(DiagnosticSink sink) {
  std::lock_guard lock(coremidi::sinkMutex_);
  coremidi::sink_ = std::move(sink);
}

}  // namespace midisystem
