#include "Diagnostics.h"

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

}  // namespace

void diagnose(const char* format, ...) {
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
  if (sink_) {
    sink_(line);
  } else {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
}

}  // namespace coremidi

namespace midisystem {

void setDiagnosticSink(DiagnosticSink sink) {
  std::lock_guard lock(coremidi::sinkMutex_);
  coremidi::sink_ = std::move(sink);
}

}  // namespace midisystem
