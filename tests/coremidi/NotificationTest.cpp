// Notifications reach a client only through the run loop of the thread that created it. Which
// changes are told, and that nothing arrives before the loop runs, is what the shared client's
// and the endpoint directory's tests see.
#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "MidiServices.h"
#include "MidiSystemControl.h"
#include "RunLoop.h"
#include "VirtualMidi.h"

namespace {

struct Seen {
  MIDINotificationMessageID id;
  MIDIObjectType type;
  std::thread::id thread;
};

// Notifications arrive on the creating thread only, so no lock is needed around `seen`.
struct Recorder {
  std::vector<Seen> seen;

  static void notify(const MIDINotification* message, void* refCon) {
    auto* self = static_cast<Recorder*>(refCon);
    Seen entry{message->messageID, kMIDIObjectType_Other, std::this_thread::get_id()};
    if (message->messageID == kMIDIMsgObjectAdded) {
      entry.type = reinterpret_cast<const MIDIObjectAddRemoveNotification*>(message)->childType;
    }
    self->seen.push_back(entry);
  }
};

TEST(NotificationTest, DeliveredOnlyOnTheRunLoopOfTheCreatingThreadAndNeverAfterDisposal) {
  Recorder mine;
  Recorder theirs;
  MIDIClientRef myClient = 0;
  ASSERT_EQ(MIDIClientCreate(nullptr, &Recorder::notify, &mine, &myClient), noErr);

  std::promise<MIDIClientRef> created;
  std::promise<void> changed;
  std::promise<void> ranOnce;
  std::thread other([&] {
    MIDIClientRef client = 0;
    MIDIClientCreate(nullptr, &Recorder::notify, &theirs, &client);
    created.set_value(client);
    changed.get_future().wait();
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
    ranOnce.set_value();
    MIDIClientDispose(client);
  });
  created.get_future().wait();
  virtualmidi::addUnattachedSource({"Other Program"});
  // Running this thread's loop delivers to this thread's client only.
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
  EXPECT_EQ(mine.seen.size(), 2u);
  changed.set_value();
  ranOnce.get_future().wait();
  other.join();

  ASSERT_EQ(theirs.seen.size(), 2u);
  EXPECT_NE(theirs.seen[0].thread, std::this_thread::get_id());
  EXPECT_EQ(theirs.seen[0].type, kMIDIObjectType_Source);

  // What was told before a client went is never delivered, and a loop left without a client
  // finishes at once.
  virtualmidi::replaceSetup(virtualmidi::defaultSetup());
  EXPECT_EQ(MIDIClientDispose(myClient), noErr);
  EXPECT_EQ(MIDIClientDispose(myClient), kMIDIInvalidClient);
  EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 5.0, false), kCFRunLoopRunFinished);
  EXPECT_EQ(mine.seen.size(), 2u);
}

}  // namespace
