#include "MidiSystemControl.h"

#include <array>
#include <utility>

#include "CallCounter.h"
#include "MidiSystem.h"
#include "RunLoop.h"
#include "Strings.h"

namespace midisystem {

using coremidi::MidiSystem;

void failNext(Failure failure, int count) {
  MidiSystem::instance().failures().failNext(failure, count);
}

void clearFailures() {
  MidiSystem::instance().failures().clear();
}

bool failureFromName(std::string_view name, Failure& failure) {
  static constexpr std::array<std::pair<std::string_view, Failure>, 7> kNames = {{
      {"clientCreate", Failure::ClientCreate},
      {"inputPortCreate", Failure::InputPortCreate},
      {"outputPortCreate", Failure::OutputPortCreate},
      {"connectSource", Failure::ConnectSource},
      {"send", Failure::Send},
      {"sendSysex", Failure::SendSysex},
      {"sysexComplete", Failure::SysexComplete},
  }};
  for (const auto& [text, kind] : kNames) {
    if (text == name) {
      failure = kind;
      return true;
    }
  }
  return false;
}

int clientCount() {
  return MidiSystem::instance().notifications().clientCount();
}

long liveStringCount() {
  return coremidi::liveStrings();
}

std::uint64_t callCount(std::string_view function) {
  for (int i = 0; i < coremidi::kApiFunctionCount; ++i) {
    const auto candidate = static_cast<coremidi::ApiFunction>(i);
    if (function == coremidi::apiFunctionName(candidate)) return coremidi::callsOf(candidate);
  }
  return 0;
}

std::uint64_t totalCallCount() {
  std::uint64_t total = 0;
  for (int i = 0; i < coremidi::kApiFunctionCount; ++i) {
    total += coremidi::callsOf(static_cast<coremidi::ApiFunction>(i));
  }
  return total;
}

void resetCallCounts() {
  coremidi::resetCalls();
}

bool waitUntilDelivered(double timeoutSeconds) {
  return MidiSystem::instance().inFlight().waitIdle(timeoutSeconds);
}

void runRunLoop(double seconds) {
  MidiSystem::instance().notifications().run(seconds, false);
}

void limitSysexChunks(int chunks) {
  MidiSystem::instance().sysex().limitChunks(chunks);
}

std::uint64_t sysexChunksSent() {
  return MidiSystem::instance().sysex().chunksSent();
}

bool selectBackend(std::string_view name) {
  return MidiSystem::requestBackend(name);
}

std::string backendName() {
  return MidiSystem::instance().backend().name();
}

}  // namespace midisystem
