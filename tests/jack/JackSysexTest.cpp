// System-exclusive messages as JACK receivers see them: one event per message whenever a period's
// buffer takes it whole, to a client of the test's own and to RtMidi. What jack_midi_dump and a
// second message window see is run by window/sysex_sender.ls.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "JackTestSupport.h"

#ifdef TONVIK_TEST_HAVE_RTMIDI
#include <RtMidi.h>
#endif

namespace jacktest {
namespace {

// Requests and short messages sent from two threads at once reach a peer as whole events: each
// system-exclusive message that fits a period's buffer (about 32 KB) as one, a longer one in
// pieces that join up to it; short messages in their order, system-exclusive in theirs.
TEST(JackSysex, EachMessageThatFitsAPeriodIsOneEventAndOrderHoldsWithinEachKind) {
  useServer();
  Peer sink("sink");
  Listener listener;
  const MIDIEndpointRef destination = connectedDestination(listener, sink, "sink");
  ASSERT_NE(destination, 0u);
  const std::size_t before = sink.received().size();

  // 257 and 1025 bytes end in a piece that is a lone F7 as the MIDI system cuts transfers.
  std::vector<std::unique_ptr<SysexRequest>> requests;
  for (const std::size_t size : {1025, 20000, 100000, 257}) {
    requests.push_back(std::make_unique<SysexRequest>(destination, sysexOf(size)));
    ASSERT_EQ(MIDISendSysex(&requests.back()->request), noErr);
  }
  Events notes;
  for (Byte number = 0; number < 100; ++number) {
    notes.push_back({0x90, number, 0x40});
    listener.send(destination, notes.back());
  }
  // Short messages, and system-exclusive events, since the test began.
  const auto byKind = [&] {
    std::array<Events, 2> kinds;
    const Events events = sink.received();
    for (auto event = events.begin() + before; event != events.end(); ++event) {
      const bool isShort = event->front() >= 0x80 && event->front() != 0xF0;
      kinds[isShort ? 0 : 1].push_back(*event);
    }
    return kinds;
  };
  // The requests live until the MIDI system has done with them; the last one's event comes last.
  ASSERT_TRUE(eventually([&] {
    const auto kinds = byKind();
    return std::all_of(requests.begin(), requests.end(),
                       [](const auto& r) { return r->completed.load(); }) &&
           kinds[0].size() >= notes.size() && !kinds[1].empty() &&
           kinds[1].back() == requests.back()->bytes;
  }));
  const auto [shorts, sysex] = byKind();
  EXPECT_EQ(shorts, notes);
  ASSERT_GE(sysex.size(), 4u);
  EXPECT_EQ(sysex[0], requests[0]->bytes);
  EXPECT_EQ(sysex[1], requests[1]->bytes);
  // 100 000 bytes: the pieces of one message, each what a period's buffer takes.
  std::vector<Byte> joined;
  for (auto piece = sysex.begin() + 2; piece + 1 != sysex.end(); ++piece) {
    EXPECT_LE(piece->size(), 32768u);
    joined.insert(joined.end(), piece->begin(), piece->end());
  }
  EXPECT_EQ(joined, requests[2]->bytes);
}

#ifdef TONVIK_TEST_HAVE_RTMIDI
TEST(JackSysex, AnRtMidiInputReceivesEachMessageWhole) {
  useServer();
  Inbox inbox;
  RtMidiIn rtmidi(RtMidi::UNIX_JACK, "rtmidi-probe");
  rtmidi.ignoreTypes(false, true, true);  // system-exclusive in, timing and sensing out
  // On RtMidi's JACK process thread.
  rtmidi.setCallback(
      [](double, std::vector<unsigned char>* message, void* self) {
        static_cast<Inbox*>(self)->add(message->data(), message->size());
      },
      &inbox);
  rtmidi.openVirtualPort("in");
  Listener listener;
  ASSERT_TRUE(eventually([] { return destinationOf("rtmidi-probe", "in") != 0; }));
  const MIDIEndpointRef destination = destinationOf("rtmidi-probe", "in");
  SysexRequest shortOne(destination, sysexOf(1025));
  SysexRequest longOne(destination, sysexOf(20000));
  ASSERT_EQ(MIDISendSysex(&shortOne.request), noErr);
  ASSERT_EQ(MIDISendSysex(&longOne.request), noErr);
  // The requests live until the MIDI system has done with them.
  ASSERT_TRUE(eventually([&] { return shortOne.completed.load() && longOne.completed.load(); }));
  EXPECT_TRUE(eventually([&] { return inbox.taken().size() >= 2; }));
  usleep(100000);  // anything more would show as a third message
  EXPECT_EQ(inbox.taken(), (Events{shortOne.bytes, longOne.bytes}));
}
#endif

}  // namespace
}  // namespace jacktest
