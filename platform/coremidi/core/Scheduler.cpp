#include "Scheduler.h"

#include <chrono>

#include "HostClock.h"
#include "PacketLists.h"
#include "WorkerThread.h"

namespace coremidi {

Scheduler::Scheduler(InFlight& inFlight, Sink sink) : inFlight_(inFlight), sink_(std::move(sink)) {
  thread_ = std::thread([this] { run(); });
}

Scheduler::~Scheduler() {
  stopWorker(mutex_, stop_, changed_, thread_);
}

void Scheduler::schedule(MIDIPortRef port, MIDIEndpointRef destination, MIDITimeStamp release,
                         MIDITimeStamp due, const Byte* data, UInt16 length) {
  Pending pending{port, destination, {}};
  beginPacketList(pending.list);
  appendPacket(pending.list, due, data, length);
  inFlight_.add();
  std::lock_guard lock(mutex_);
  pending_.emplace(release, std::move(pending));
  changed_.notify_all();
}

void Scheduler::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    if (stop_) return;
    if (pending_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const MIDITimeStamp due = pending_.begin()->first;
    const MIDITimeStamp now = hostTimeNow();
    if (due > now) {
      changed_.wait_for(lock, std::chrono::nanoseconds(hostTimeToNanos(due - now)));
      continue;
    }
    Pending pending = std::move(pending_.begin()->second);
    pending_.erase(pending_.begin());
    lock.unlock();
    sink_(pending.port, pending.destination, pending.list);
    inFlight_.done();
    lock.lock();
  }
}

}  // namespace coremidi
