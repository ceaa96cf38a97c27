// What the process thread may hold outlives its use, however long a process call takes; a port of
// a program that has only just started can be connected.
#include <gtest/gtest.h>

#include <thread>

#include "JackTestSupport.h"

namespace jacktest {
namespace {

using namespace std::chrono_literals;

// Longer than any timed give-up a backend might allow itself (it once waited 200 ms).
constexpr auto kHold = 400ms;

// A read procedure whose first call holds the process call in flight. It notes calls made after
// its owner let the port go.
struct HeldReader {
  std::atomic<int> calls{0};
  std::atomic<int> finished{0};
  std::atomic<bool> letGo{false};
  std::atomic<int> callsAfterLetGo{0};

  static void read(const MIDIPacketList*, void* self, void*) {
    auto* reader = static_cast<HeldReader*>(self);
    if (reader->letGo.load()) ++reader->callsAfterLetGo;
    if (reader->calls++ == 0) std::this_thread::sleep_for(kHold);
    ++reader->finished;
  }
};

// A sequencer that plays a note on and off in every period, so that every period holds two
// events: the process call held on the first goes on to the second (of whatever period its
// buffer holds by then) with whatever it holds, so under AddressSanitizer a listener freed too
// early shows at once. A program of its own: the thread sanitizer must not see JACK's buffers
// written by another client while the held call reads them late.
TEST(JackLifetime, APortOrListenerLetGoDuringAHeldProcessCallOutlivesTheCall) {
  useServer();
  for (const bool dispose : {false, true}) {
    SCOPED_TRACE(dispose ? "MIDIPortDispose" : "MIDIPortDisconnectSource");
    const std::string name = dispose ? "held-dispose" : "held-disconnect";
    jackrig::Child sequencer({JACK_MIDISEQ_PROGRAM, name, "256", "0", "60", "128"});
    HeldReader reader;
    const MIDIClientRef client = clientNamed("held");
    MIDIPortRef input = 0;
    ASSERT_EQ(MIDIInputPortCreate(client, nullptr, HeldReader::read, &reader, &input), noErr);
    ASSERT_TRUE(eventually([&] { return sourceOf(name, "out") != 0; }));
    const MIDIEndpointRef source = sourceOf(name, "out");
    ASSERT_EQ(MIDIPortConnectSource(input, source, nullptr), noErr);

    ASSERT_TRUE(eventually([&] { return reader.calls.load() > 0; }));
    const auto before = std::chrono::steady_clock::now();
    ASSERT_EQ(dispose ? MIDIPortDispose(input) : MIDIPortDisconnectSource(input, source), noErr);
    const auto waited = std::chrono::steady_clock::now() - before;
    reader.letGo = true;
    // The held call, and the call for the second event that followed it, ended before the port
    // or connection was let go; none came after.
    EXPECT_EQ(reader.finished.load(), reader.calls.load());
    EXPECT_GE(reader.calls.load(), 2);
    EXPECT_GT(waited, 100ms);
    std::this_thread::sleep_for(kHold);
    EXPECT_EQ(reader.callsAfterLetGo.load(), 0);
    EXPECT_EQ(MIDIClientDispose(client), noErr);
  }
}

// JACK refuses to connect a port whose client has registered it but is not active yet: what a
// program looks like for a moment after it starts.
TEST(JackLifetime, APortOfAProgramThatIsNotActiveYetConnectsOnceItIs) {
  useServer();
  jack_status_t status{};
  jack_client_t* late = jack_client_open("late", JackNoStartServer, &status);
  ASSERT_NE(late, nullptr);
  ASSERT_NE(jack_port_register(late, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0), nullptr);
  Listener listener;
  ASSERT_TRUE(eventually([] { return sourceOf("late", "out") != 0; }));
  std::thread activate([&] {
    std::this_thread::sleep_for(100ms);
    jack_activate(late);
  });
  EXPECT_EQ(MIDIPortConnectSource(listener.input, sourceOf("late", "out"), nullptr), noErr);
  activate.join();
  EXPECT_TRUE(Probe().connected("late:out", "listener:in"));
  jack_deactivate(late);
  jack_client_close(late);
}

}  // namespace
}  // namespace jacktest
