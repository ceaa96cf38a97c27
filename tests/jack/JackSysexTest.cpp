// System-exclusive messages as JACK receivers see them: one event per message whenever a period's
// buffer takes it whole, to a client of the test's own and to RtMidi. What jack_midi_dump and a
// second message window see is run by window/sysex_sender.ls.
#include <gtest/gtest.h>
#include <unistd.h>

#include "JackTestSupport.h"
#include "MidiSystemControl.h"

#ifdef TONVIK_TEST_HAVE_RTMIDI
#include <RtMidi.h>
#endif

namespace jacktest {
namespace {

bool isShort(const std::vector<Byte>& event) {
  return event.front() >= 0x80 && event.front() != 0xF0;
}

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
  const std::vector<std::size_t> sizes = {1025, 20000, 100000, 257};
  std::vector<std::unique_ptr<SysexRequest>> requests;
  for (const std::size_t size : sizes) {
    requests.push_back(std::make_unique<SysexRequest>(destination, sysexOf(size)));
    ASSERT_EQ(MIDISendSysex(&requests.back()->request), noErr);
  }
  std::vector<std::vector<Byte>> notes;
  for (Byte number = 0; number < 100; ++number) {
    notes.push_back({0x90, number, 0x40});
    listener.send(destination, notes.back());
  }
  ASSERT_TRUE(eventually([&] {
    return std::all_of(requests.begin(), requests.end(),
                       [](const auto& r) { return r->completed.load(); });
  }));

  std::size_t sysexBytes = 0;
  for (const std::size_t size : sizes) sysexBytes += size;
  const auto arrived = [&] {
    std::size_t bytes = 0;
    for (const auto& event : sink.received()) bytes += isShort(event) ? 0 : event.size();
    return bytes;
  };
  ASSERT_TRUE(eventually([&] { return arrived() >= sysexBytes && sink.received().size() > 100; }));
  std::vector<std::vector<Byte>> shorts;
  std::vector<std::vector<Byte>> sysex;
  const auto events = sink.received();
  for (auto event = events.begin() + before; event != events.end(); ++event) {
    (isShort(*event) ? shorts : sysex).push_back(*event);
  }
  EXPECT_EQ(shorts, notes);

  ASSERT_GE(sysex.size(), 4u);
  EXPECT_EQ(sysex[0], requests[0]->bytes);
  EXPECT_EQ(sysex[1], requests[1]->bytes);
  // 100 000 bytes: the pieces of one message, the first with its F0.
  std::vector<Byte> joined;
  std::size_t piece = 2;
  for (; piece + 1 < sysex.size() && joined.size() < sizes[2]; ++piece) {
    EXPECT_EQ(sysex[piece].front() == 0xF0, piece == 2) << piece;
    EXPECT_LE(sysex[piece].size(), 32768u);
    joined.insert(joined.end(), sysex[piece].begin(), sysex[piece].end());
  }
  EXPECT_EQ(joined, requests[2]->bytes);
  EXPECT_EQ(piece, sysex.size() - 1);
  EXPECT_EQ(sysex.back(), requests[3]->bytes);
}

#ifdef TONVIK_TEST_HAVE_RTMIDI
// RtMidi's callback runs on its JACK process thread.
struct RtMidiInbox {
  std::mutex mutex;
  std::vector<std::vector<Byte>> messages;
  static void receive(double, std::vector<unsigned char>* message, void* self) {
    auto* inbox = static_cast<RtMidiInbox*>(self);
    std::lock_guard lock(inbox->mutex);
    inbox->messages.emplace_back(message->begin(), message->end());
  }
  std::vector<std::vector<Byte>> taken() {
    std::lock_guard lock(mutex);
    return messages;
  }
};

TEST(JackSysex, AnRtMidiInputReceivesEachMessageWhole) {
  useServer();
  RtMidiInbox inbox;
  RtMidiIn rtmidi(RtMidi::UNIX_JACK, "rtmidi-probe");
  rtmidi.ignoreTypes(false, true, true);  // system-exclusive in, timing and sensing out
  rtmidi.setCallback(RtMidiInbox::receive, &inbox);
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
  EXPECT_EQ(inbox.taken(), (std::vector<std::vector<Byte>>{shortOne.bytes, longOne.bytes}));
}
#endif

}  // namespace
}  // namespace jacktest
