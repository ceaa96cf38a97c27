// The notification queues of the clients, each delivered on the run loop of the thread that
// created its client.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "MidiServices.h"
#include "RunLoop.h"

namespace coremidi {

// Room for every kind of message; `message()` points at the one in use.
struct QueuedNotification {
  MIDIObjectAddRemoveNotification addRemove{};
  MIDIObjectPropertyChangeNotification propertyChange{};
  MIDINotification plain{};

  const MIDINotification* message() const;
  static QueuedNotification setupChanged();
  static QueuedNotification addedOrRemoved(MIDINotificationMessageID id, MIDIObjectRef parent,
                                           MIDIObjectType parentType, MIDIObjectRef child,
                                           MIDIObjectType childType);
  static QueuedNotification propertyChanged(MIDIObjectRef object, MIDIObjectType type,
                                            CFStringRef property);
};

class NotificationCenter {
 public:
  // Registers the client for the calling thread's run loop.
  void addClient(MIDIClientRef client, MIDINotifyProc notifyProc, void* refCon);
  // Its waiting notifications are dropped.
  void removeClient(MIDIClientRef client);
  int clientCount();
  void post(const std::vector<QueuedNotification>& notifications);
  // The run loop of the calling thread.
  CFRunLoopRunResult run(double seconds, bool returnAfterHandled);

 private:
  struct Client {
    MIDIClientRef client;
    std::thread::id thread;
    MIDINotifyProc notifyProc;
    void* refCon;
    std::deque<QueuedNotification> waiting;
  };
  struct Delivery {
    MIDIClientRef client;
    QueuedNotification notification;
  };

  Client* find(MIDIClientRef client);
  bool hasClientOn(std::thread::id thread) const;
  std::vector<Delivery> takeWaitingFor(std::thread::id thread);

  std::mutex mutex_;
  std::condition_variable posted_;
  std::vector<Client> clients_;
};

}  // namespace coremidi
