// Listing and looking up endpoints for setups of 1 to 1000 sources: from the directory's cache,
// and right after a device change, when the directory rebuilds from the MIDI system. The sources
// are unattached (other programs' virtual endpoints), or each on a device of its own (JACK
// clients), which the rebuild finds and names by device.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "DeviceList.h"
#include "MidiSystemControl.h"
#include "OSXMidiUtils.h"
#include "VirtualMidi.h"

namespace {

// Holds the shared client, without which no notification arrives and the cache never rebuilds.
class Directory {
 public:
  Directory(std::int64_t sources, bool onDevices) : client_(fwAcquireMidiClient()) {
    virtualmidi::Setup setup;
    for (std::int64_t i = 0; i < sources; ++i) {
      const std::string name = "Source " + std::to_string(i);
      if (onDevices) {
        setup.devices.push_back({"Device " + std::to_string(i), {{"Port", {{name}}}}});
      } else {
        setup.unattachedSources.push_back({name});
      }
    }
    virtualmidi::replaceSetup(setup);
    midisystem::runRunLoop(0);
    first_ = virtualmidi::findSource("Source 0");
  }
  ~Directory() {
    virtualmidi::replaceSetup(virtualmidi::defaultSetup());
    midisystem::runRunLoop(0);
    fwReleaseMidiClient(client_);
  }
  // A rename is the smallest change that every client is told about.
  void change() {
    virtualmidi::renameObject(first_, (flip_ = !flip_) ? "Source 0'" : "Source 0");
    midisystem::runRunLoop(0);
  }
  DeviceListEntry last() {
    DeviceList devices;
    fwGetMidiInputDevices(devices);
    return devices.at(devices.size() - 1);
  }

 private:
  MIDIClientRef client_;
  MIDIEndpointRef first_ = 0;
  bool flip_ = false;
};

void listDevices(benchmark::State& state, bool onDevices) {
  Directory directory(state.range(0), onDevices);
  const bool afterChange = state.range(1) != 0;
  DeviceList devices;
  for (auto _ : state) {
    if (afterChange) {
      state.PauseTiming();
      directory.change();
      state.ResumeTiming();
    }
    devices.clear();
    fwGetMidiInputDevices(devices);
    benchmark::DoNotOptimize(devices.size());
  }
  state.SetItemsProcessed(state.iterations());
}

void lookUpLast(benchmark::State& state, bool onDevices) {
  Directory directory(state.range(0), onDevices);
  const bool afterChange = state.range(1) != 0;
  // The last source: the one a linear search finds last.
  const DeviceListEntry wanted = directory.last();
  for (auto _ : state) {
    if (afterChange) {
      state.PauseTiming();
      directory.change();
      state.ResumeTiming();
    }
    benchmark::DoNotOptimize(fwFindMidiSourceEndpoint(wanted));
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_Directory_List(benchmark::State& state) {
  listDevices(state, false);
}
void BM_Directory_Lookup(benchmark::State& state) {
  lookUpLast(state, false);
}
void BM_Directory_ListOnDevices(benchmark::State& state) {
  listDevices(state, true);
}
void BM_Directory_LookupOnDevices(benchmark::State& state) {
  lookUpLast(state, true);
}

// Second argument: 0 from the cache, 1 after a change. On devices only the rebuild is measured:
// a cached listing costs the same however the endpoints were found.
BENCHMARK(BM_Directory_List)->ArgsProduct({{1, 10, 100, 1000}, {0, 1}})->ArgNames({"n", "changed"});
BENCHMARK(BM_Directory_Lookup)
    ->ArgsProduct({{1, 10, 100, 1000}, {0, 1}})
    ->ArgNames({"n", "changed"});
BENCHMARK(BM_Directory_ListOnDevices)->ArgsProduct({{100, 1000}, {1}})->ArgNames({"n", "changed"});
BENCHMARK(BM_Directory_LookupOnDevices)
    ->ArgsProduct({{100, 1000}, {1}})
    ->ArgNames({"n", "changed"});

}  // namespace
