// Checks the fuzz invariants on a live instance: the queue's indices stay in the ring, a read
// never moves past the write index, and every message read is a whole property list.
#pragma once

#include <cstdint>

#include "FuzzInput.h"
#include "TonvikBaseInternals.h"
#include "ValueStore.h"

namespace fuzzcheck {

// [#type: #..., ..., #timestamp: t], at least the two.
inline void expectMessage(director::ValueStore& store, const LingoValue& message) {
  expect(store.kind(message) == director::ValueKind::PropertyList, "a message is a property list");
  const std::int32_t count = store.count(message);
  expect(count >= 2, "a message has #type and #timestamp");
  LingoValue first = store.keyAt(message, 1);
  LingoValue last = store.keyAt(message, count);
  expect(store.symbolName(store.symbol(first)) == "type", "#type comes first");
  expect(store.symbolName(store.symbol(last)) == "timestamp", "#timestamp comes last");
  store.release(first);
  store.release(last);
}

// Reads one message and checks that the read index moved forward within the published bytes.
inline void readOne(TonvikBase& instance, director::ValueStore& store) {
  const std::uint32_t size = TonvikBaseInternals::size(instance);
  const std::uint32_t read = TonvikBaseInternals::readIndex(instance);
  const std::uint32_t write = TonvikBaseInternals::writeIndex(instance);
  const bool pending = instance.MessagesPending();
  LingoValue message = store.makePropertyList();
  instance.GetNextMessage(&message);
  const std::uint32_t after = TonvikBaseInternals::readIndex(instance);
  if (size > 0) {
    expect(after < size, "the read index stays inside the ring");
    expect((after + size - read) % size <= (write + size - read) % size,
           "the reader never passes the write index it saw");
  }
  if (pending && store.count(message) > 0) expectMessage(store, message);
  store.release(message);
}

inline void readAll(TonvikBase& instance, director::ValueStore& store) {
  LingoValue messages = store.makeLinearList();
  instance.GetPendingMessages(&messages);
  for (std::int32_t i = 1; i <= store.count(messages); ++i) {
    LingoValue message = store.itemAt(messages, i);
    expectMessage(store, message);
    store.release(message);
  }
  store.release(messages);
  expect(!instance.MessagesPending(), "draining empties the queue");
}

}  // namespace fuzzcheck
