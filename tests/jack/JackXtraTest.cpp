// The Xtra itself on the JACK backend, for what only real traffic brings: a peer that dies in
// the middle of a dump.
#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <thread>

#include "JackTestSupport.h"
#include "MacOsxTonvik.h"
#include "MidiSystemControl.h"
#include "ValueStore.h"

namespace jacktest {
namespace {

using director::ValueKind;
using director::ValueStore;
using namespace std::chrono_literals;

// The zero-based position of `name` among the instance's input ports; -1 if it does not show
// within `tries` looks.
std::int32_t inputPosition(ValueStore& store, MacOsxTonvik& xtra, const std::string& name,
                           int tries = 1000) {
  std::int32_t found = -1;
  for (int tried = 0; tried < tries && found < 0; ++tried) {
    midisystem::runRunLoop(0.01);
    LingoValue list = store.makeLinearList();
    xtra.GetInputPorts(&list);
    for (std::int32_t i = 1; i <= store.count(list) && found < 0; ++i) {
      LingoValue item = store.itemAt(list, i);
      if (store.kind(item) == ValueKind::String && store.string(item) == name) found = i - 1;
      store.release(item);
    }
    store.release(list);
  }
  return found;
}

// The note-ons among the messages GetPendingMessages hands over.
int drainNoteOns(ValueStore& store, MacOsxTonvik& xtra) {
  LingoValue list = store.makeLinearList();
  xtra.GetPendingMessages(&list);
  const std::string printed = store.print(list);
  store.release(list);
  int notes = 0;
  for (std::size_t at = 0; (at = printed.find("#noteOn", at)) != std::string::npos; ++at) ++notes;
  return notes;
}

// The last count the dump peer printed.
std::size_t bytesPlayed(const std::string& progressFile) {
  std::ifstream file(progressFile);
  std::size_t last = 0;
  for (std::size_t count = 0; file >> count;) last = count;
  return last;
}

// The dump's peer is killed with its message unfinished; notes that another peer then plays into
// the same input port (JACK merges its connections) all arrive. At most the dump is lost.
TEST(JackXtra, APeerKilledInTheMiddleOfA3MBDumpCostsOnlyTheDump) {
  useServer();
  ValueStore store;
  const std::size_t valuesBefore = store.liveValues();
  {
    MacOsxTonvik xtra(store.valueInterface(), store.listInterface(), store.allocator());
    ASSERT_EQ(xtra.Init(), 0);
    // 3 MB in pieces of 16 KB a period: about a second on jackd at 256 frames a period, from the
    // moment the Xtra listens. The peer prints how far it got.
    const std::string progress = testing::TempDir() + "tonvik-dumper-" + std::to_string(getpid());
    jackrig::Child dumper({JACK_DUMP_PEER_PROGRAM, "dumper", "3000000", "16384"}, progress);
    Peer keys("keys");
    const std::int32_t position = inputPosition(store, xtra, "dumper");
    ASSERT_GE(position, 0);
    ASSERT_EQ(xtra.OpenInput(position, 16 << 20), 0);
    Probe probe;
    ASSERT_EQ(jack_connect(probe.client, keys.outName().c_str(), "Tonvik Xtra:Fenwold Input"), 0);
    ASSERT_TRUE(eventually([&] { return bytesPlayed(progress) >= 200'000; }));
    dumper.stop();
    ASSERT_LT(bytesPlayed(progress), 3'000'000u) << "the dump ended before its peer was killed";
    // JACK drops the period in which it takes a dead client out of its graph: the notes go once
    // the dumper is gone from the port lists.
    ASSERT_TRUE(eventually([&] { return inputPosition(store, xtra, "dumper", 1) < 0; }));

    constexpr int kNotes = 100;
    for (int i = 0; i < kNotes; ++i) keys.send({0x90, static_cast<Byte>(i), 0x40});
    int notes = 0;
    eventually([&] {
      notes += drainNoteOns(store, xtra);
      return notes >= kNotes;
    });
    std::this_thread::sleep_for(100ms);
    notes += drainNoteOns(store, xtra);
    EXPECT_EQ(notes, kNotes);
    EXPECT_FALSE(xtra.InputOverflowed());
    EXPECT_EQ(xtra.CloseInput(), 0);
  }
  EXPECT_EQ(store.liveValues(), valuesBefore);
}

}  // namespace
}  // namespace jacktest
