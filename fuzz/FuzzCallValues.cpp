// Any selector with arbitrary Lingo values (every kind, nested lists, property lists with keys in
// any order, huge and negative integers) through the loaded bundle's Call, on an instance whose
// input and output are open on the loopback bus. Each call must leave exactly the values the
// instance holds itself.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "BundleRig.h"
#include "FuzzInput.h"
#include "MidiSystemControl.h"
#include "ValueStore.h"

namespace {

using director::ValueStore;

constexpr int kDeepestList = 3;
constexpr int kLongestList = 8;
constexpr std::int32_t kSelectorsBeyondTable = 3;
// Words the Xtra knows, so that symbols hit its tables as often as they miss them.
// clang-format off
const char* const kWords[] = {
    "noteOn", "noteOff", "controlChange", "pitchBend", "systemExclusive", "programChange",
    "mtcQuarterFrame", "songPositionPointer", "clock", "all", "realTime", "common",
    "channelMode", "type", "channel", "number", "velocity", "data", "none", "monoModeOn"};
// clang-format on
const std::int32_t kEdgeIntegers[] = {0,   1,    -1,    16,    17,    127,       128,
                                      255, 8191, -8192, 16383, 16384, INT32_MAX, INT32_MIN};

struct Rig {
  BundleRig bundle{TONVIK_XTRA_PATH};
  ValueStore& store = bundle.store;
  std::int32_t methodCount = 0;
  std::int32_t openInput = -1;
  std::size_t baseline = 0;

  Rig() {
    fuzzcheck::expect(bundle.loaded() && bundle.create() == "0", "the bundle makes an instance");
    methodCount = static_cast<std::int32_t>(bundle.bundle->methods().size());
    openInput = bundle.bundle->methodNumber("OpenInput").value_or(-1);
    bundle.call("Init");
    bundle.call("OpenInput", std::vector<std::int32_t>{1, 0});
    bundle.call("OpenOutput", std::vector<std::int32_t>{1});
    baseline = store.liveValues();
  }
};

Rig& rig() {
  static Rig* made = new Rig();  // kept alive to the end, past libFuzzer's exit
  return *made;
}

LingoValue makeValue(ValueStore& store, FuzzInput& input, int depth);

LingoValue makeList(ValueStore& store, FuzzInput& input, int depth, bool properties) {
  LingoValue list = properties ? store.makePropertyList() : store.makeLinearList();
  for (int items = input.byte() % kLongestList; items > 0; --items) {
    LingoValue item = makeValue(store, input, depth + 1);
    if (properties) {
      LingoValue key = store.makeSymbol(kWords[input.byte() % std::size(kWords)]);
      store.appendProperty(list, key, item);
      store.release(key);
    } else {
      store.append(list, item);
    }
    store.release(item);
  }
  return list;
}

LingoValue makeValue(ValueStore& store, FuzzInput& input, int depth) {
  switch (input.byte() % 8) {
    case 0:
      return store.makeInteger(static_cast<std::int32_t>(input.u32()));
    case 1:
      return store.makeInteger(kEdgeIntegers[input.byte() % std::size(kEdgeIntegers)]);
    case 2:
      return store.makeSymbol(kWords[input.byte() % std::size(kWords)]);
    case 3: {
      auto text = input.bytes(input.byte() % 16);
      return store.makeString(std::string(text.begin(), text.end()));
    }
    case 4:
      return store.makeFloat(static_cast<std::int32_t>(input.u32()) / 256.0);
    case 5:
      return depth < kDeepestList ? makeList(store, input, depth, false) : store.makeVoid();
    case 6:
      return depth < kDeepestList ? makeList(store, input, depth, true) : store.makeVoid();
    default:
      return store.makeVoid();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Rig& r = rig();
  FuzzInput input(data, size);
  while (!input.empty()) {
    const std::int32_t selector = input.byte() % (r.methodCount + kSelectorsBeyondTable);
    std::vector<LingoValue> arguments;
    for (int count = input.byte() % 4; count > 0; --count) {
      arguments.push_back(makeValue(r.store, input, 0));
    }
    // A negative buffer size asks for 2 GB or more, as documented; not a fuzzing matter.
    if (selector == r.openInput) {
      for (LingoValue& argument : arguments) r.store.release(argument);
      continue;
    }
    director::XtraCallResult called = r.bundle.instance->call(selector, arguments);
    r.store.release(called.result);
    for (LingoValue& argument : arguments) r.store.release(argument);
    fuzzcheck::expect(r.store.liveValues() == r.baseline, "a call leaves no value behind");
  }
  midisystem::waitUntilDelivered();
  return 0;
}
