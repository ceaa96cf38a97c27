#include "HostSetup.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "MidiHostFunctions.h"
#include "MidiSystemControl.h"

namespace tonvik {

namespace {
constexpr double kDeliveryTimeoutSeconds = 10.0;
}  // namespace

std::shared_ptr<HostState> installHost(Interpreter& interpreter, const Options& options) {
  // The MIDI system must be chosen before anything (the Xtra included) first touches it.
  const char* backend = options.midi == MidiSystem::Jack ? "jack" : "virtual";
  if (!midisystem::selectBackend(backend)) {
    throw std::runtime_error(std::string("the ") + backend +
                             " MIDI system is not available in this build");
  }

  auto host = std::make_shared<HostState>();
  for (const std::string& problem : host->loader.loadBesideExecutable()) {
    std::cerr << "tonvik: " << problem << "\n";
  }
  interpreter.setXtraBridge(std::make_shared<LoaderBridge>(host));
  registerMidiHostFunctions(interpreter, host, options.midi);

  // Device notifications reach the Xtra only while this thread runs its run loop. On the virtual
  // system a wait also lets every send in flight arrive first, so a script that sends to the
  // loopback bus and waits finds its messages there however busy the machine is.
  // The run loop returns at once while no MIDI client lives on this thread, as a run loop without
  // sources does; a wait still lasts its whole time.
  const bool isVirtual = options.midi == MidiSystem::Virtual;
  interpreter.setRunLoopStep([isVirtual](std::chrono::milliseconds duration) {
    const auto deadline = std::chrono::steady_clock::now() + duration;
    if (isVirtual && duration.count() > 0) midisystem::waitUntilDelivered(kDeliveryTimeoutSeconds);
    const std::chrono::duration<double> left = deadline - std::chrono::steady_clock::now();
    midisystem::runRunLoop(std::max(left.count(), 0.0));
    std::this_thread::sleep_until(deadline);
  });
  return host;
}

void runFrameRunLoop(const Options& options) {
  // As for a wait: what enterFrame sent to the loopback bus is there for exitFrame.
  if (options.midi == MidiSystem::Virtual) midisystem::waitUntilDelivered(kDeliveryTimeoutSeconds);
  midisystem::runRunLoop(0);
}

}  // namespace tonvik
