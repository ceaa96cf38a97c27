// Arbitrary packet lists (any count, any lengths, any bytes) injected into the virtual bus and
// cut by the input port's read procedure into a real instance's queue. After each list the
// queue is read back one message at a time and the census must balance.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzInput.h"
#include "MacOsxTonvik.h"
#include "MidiSystemControl.h"
#include "QueueView.h"
#include "ValueStore.h"
#include "VirtualMidi.h"

namespace {

// A small ring, so that overflow and wrap-around are reached often.
constexpr std::int32_t kQueueBytes = 1024;
constexpr std::size_t kLongestPacket = 2048;

struct Rig {
  director::ValueStore store;
  MacOsxTonvik instance{store.valueInterface(), store.listInterface(), store.allocator()};
  std::size_t symbolValues = 0;

  Rig() {
    fuzzcheck::expect(instance.Init() == 0, "Init");
    fuzzcheck::expect(instance.OpenInput(0, kQueueBytes) == 0, "OpenInput on the bus");
    symbolValues = store.liveValues();
  }
};

Rig& rig() {
  static Rig* made = new Rig();  // kept alive to the end, past libFuzzer's exit
  return *made;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Rig& r = rig();
  FuzzInput input(data, size);
  while (!input.empty()) {
    std::vector<virtualmidi::Packet> packets(input.byte() % 16);
    for (virtualmidi::Packet& packet : packets) {
      const std::size_t length = (std::size_t{input.byte()} << 8 | input.byte()) % kLongestPacket;
      auto bytes = input.bytes(length);
      packet.assign(bytes.begin(), bytes.end());
    }
    fuzzcheck::expect(virtualmidi::injectByName(virtualmidi::kDefaultDeviceName, packets),
                      "the bus takes the packet list");
    for (int reads = input.byte() % 8; reads > 0; --reads) fuzzcheck::readOne(r.instance, r.store);
    if (input.byte() % 4 == 0) r.instance.InputOverflowed();
  }
  fuzzcheck::readAll(r.instance, r.store);
  r.instance.InputOverflowed();
  fuzzcheck::expect(r.store.liveValues() == r.symbolValues, "every value made is released");
  return 0;
}
