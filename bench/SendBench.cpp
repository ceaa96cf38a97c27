// SendMessage from a Lingo list to the bytes handed to the platform, short and system-exclusive,
// beside the host reads alone that the same list costs.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <utility>

#include "BenchSupport.h"

namespace {

constexpr std::int32_t kSysexDataBytes = 1021;  // 1 KB on the wire with F0, ID and F7

LingoValue noteOnMessage(director::ValueStore& store) {
  LingoValue message = store.makePropertyList();
  const std::pair<const char*, std::int32_t> values[] = {
      {"channel", 1}, {"number", 60}, {"velocity", 100}, {"timestamp", 5120}};
  LingoValue key = store.makeSymbol("type");
  LingoValue type = store.makeSymbol("noteOn");
  store.appendProperty(message, key, type);
  store.release(key);
  store.release(type);
  for (const auto& [name, number] : values) {
    key = store.makeSymbol(name);
    LingoValue value = store.makeInteger(number);
    store.appendProperty(message, key, value);
    store.release(key);
    store.release(value);
  }
  return message;
}

LingoValue sysexMessage(director::ValueStore& store) {
  LingoValue message = store.makeLinearList();
  LingoValue type = store.makeSymbol("systemExclusive");
  LingoValue manufacturer = store.makeInteger(0x7D);
  LingoValue data = store.makeLinearList();
  for (std::int32_t i = 0; i < kSysexDataBytes; ++i) {
    LingoValue item = store.makeInteger(i & 0x7F);
    store.append(data, item);
    store.release(item);
  }
  for (LingoValue* item : {&type, &manufacturer, &data}) {
    store.append(message, *item);
    store.release(*item);
  }
  return message;
}

void BM_SendMessage_Short(benchmark::State& state) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenOutput(0);
  LingoValue message = noteOnMessage(store);
  for (auto _ : state) {
    benchmark::DoNotOptimize(platform.SendMessage(&message));
    platform.shortSends.clear();
    platform.sysexSends.clear();
  }
  store.release(message);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SendMessage_Short);

void BM_SendMessage_Sysex1K(benchmark::State& state) {
  director::ValueStore store;
  RecordingPlatform platform(store);
  platform.OpenOutput(0);
  LingoValue message = sysexMessage(store);
  for (auto _ : state) {
    benchmark::DoNotOptimize(platform.SendMessage(&message));
    platform.shortSends.clear();
    platform.sysexSends.clear();
  }
  store.release(message);
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * (kSysexDataBytes + 3));
}
BENCHMARK(BM_SendMessage_Sysex1K);

// Every item that SendMessage reads for a note-on, read and released through the host.
void BM_HostReadsOnly_Short(benchmark::State& state) {
  director::ValueStore store;
  HostValueInterface* values = store.valueInterface();
  HostListInterface* lists = store.listInterface();
  LingoValue message = noteOnMessage(store);
  for (auto _ : state) {
    LingoValue item;
    LingoSymbol symbol = 0;
    lists->GetListItem(&message, 1, &item);
    values->ReadSymbolValue(&item, &symbol);
    values->ReleaseValue(&item);
    std::int32_t sum = static_cast<std::int32_t>(symbol);
    for (std::int32_t position = 2; position <= 4; ++position) {
      std::int32_t number = 0;
      lists->GetListItem(&message, position, &item);
      values->ReadIntegerValue(&item, &number);
      values->ReleaseValue(&item);
      sum += number;
    }
    benchmark::DoNotOptimize(sum);
  }
  store.release(message);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_HostReadsOnly_Short);

}  // namespace
