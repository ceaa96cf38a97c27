#include "Notifications.h"

#include <chrono>

namespace coremidi {

const MIDINotification* QueuedNotification::message() const {
  switch (plain.messageID) {
    case kMIDIMsgObjectAdded:
    case kMIDIMsgObjectRemoved:
      return reinterpret_cast<const MIDINotification*>(&addRemove);
    case kMIDIMsgPropertyChanged:
      return reinterpret_cast<const MIDINotification*>(&propertyChange);
    default:
      return &plain;
  }
}

QueuedNotification QueuedNotification::setupChanged() {
  QueuedNotification queued;
  queued.plain = {kMIDIMsgSetupChanged, sizeof(MIDINotification)};
  return queued;
}

QueuedNotification QueuedNotification::addedOrRemoved(MIDINotificationMessageID id,
                                                      MIDIObjectRef parent,
                                                      MIDIObjectType parentType,
                                                      MIDIObjectRef child,
                                                      MIDIObjectType childType) {
  QueuedNotification queued;
  queued.plain = {id, sizeof(MIDIObjectAddRemoveNotification)};
  queued.addRemove = {id,       sizeof(MIDIObjectAddRemoveNotification), parent, parentType, child,
                      childType};
  return queued;
}

QueuedNotification QueuedNotification::propertyChanged(MIDIObjectRef object, MIDIObjectType type,
                                                       CFStringRef property) {
  QueuedNotification queued;
  queued.plain = {kMIDIMsgPropertyChanged, sizeof(MIDIObjectPropertyChangeNotification)};
  queued.propertyChange = {kMIDIMsgPropertyChanged, sizeof(MIDIObjectPropertyChangeNotification),
                           object, type, property};
  return queued;
}

void NotificationCenter::addClient(MIDIClientRef client, MIDINotifyProc notifyProc, void* refCon) {
  std::lock_guard lock(mutex_);
  clients_.push_back({client, std::this_thread::get_id(), notifyProc, refCon, {}});
}

void NotificationCenter::removeClient(MIDIClientRef client) {
  std::lock_guard lock(mutex_);
  std::erase_if(clients_, [client](const Client& c) { return c.client == client; });
}

int NotificationCenter::clientCount() {
  std::lock_guard lock(mutex_);
  return static_cast<int>(clients_.size());
}

void NotificationCenter::post(const std::vector<QueuedNotification>& notifications) {
  if (notifications.empty()) return;
  std::lock_guard lock(mutex_);
  for (Client& client : clients_) {
    if (!client.notifyProc) continue;
    client.waiting.insert(client.waiting.end(), notifications.begin(), notifications.end());
  }
  posted_.notify_all();
}

NotificationCenter::Client* NotificationCenter::find(MIDIClientRef client) {
  for (Client& c : clients_) {
    if (c.client == client) return &c;
  }
  return nullptr;
}

bool NotificationCenter::hasClientOn(std::thread::id thread) const {
  for (const Client& c : clients_) {
    if (c.thread == thread) return true;
  }
  return false;
}

std::vector<NotificationCenter::Delivery> NotificationCenter::takeWaitingFor(
    std::thread::id thread) {
  std::vector<Delivery> deliveries;
  for (Client& c : clients_) {
    if (c.thread != thread) continue;
    for (const QueuedNotification& n : c.waiting) deliveries.push_back({c.client, n});
    c.waiting.clear();
  }
  return deliveries;
}

CFRunLoopRunResult NotificationCenter::run(double seconds, bool returnAfterHandled) {
  const auto me = std::this_thread::get_id();
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds > 0 ? seconds : 0);
  bool handled = false;
  std::unique_lock lock(mutex_);
  for (;;) {
    if (!hasClientOn(me)) return handled ? kCFRunLoopRunHandledSource : kCFRunLoopRunFinished;
    std::vector<Delivery> deliveries = takeWaitingFor(me);
    if (!deliveries.empty()) {
      for (const Delivery& delivery : deliveries) {
        // A notification procedure may dispose of a client; a gone client gets nothing more.
        Client* client = find(delivery.client);
        if (!client) continue;
        const MIDINotifyProc notifyProc = client->notifyProc;
        void* refCon = client->refCon;
        lock.unlock();
        notifyProc(delivery.notification.message(), refCon);
        lock.lock();
      }
      handled = true;
      if (returnAfterHandled) return kCFRunLoopRunHandledSource;
      continue;
    }
    if (std::chrono::steady_clock::now() >= deadline) return kCFRunLoopRunTimedOut;
    posted_.wait_until(lock, deadline);
  }
}

}  // namespace coremidi
