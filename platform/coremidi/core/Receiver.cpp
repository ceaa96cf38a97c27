#include "Receiver.h"

#include <algorithm>

#include "Diagnostics.h"
#include "WorkerThread.h"

namespace coremidi {
namespace {

constexpr std::size_t kInitialQueueCapacity = 64;
// A fresh slot has room for a few hundred bytes, so common lists never reallocate it.
constexpr std::size_t kInitialSlotBytes = 1024;

}  // namespace

Receiver::Receiver(InFlight& inFlight) : inFlight_(inFlight) {
  queue_.resize(kInitialQueueCapacity);
  thread_ = std::thread([this] { run(); });
}

Receiver::~Receiver() {
  stopWorker(mutex_, stop_, work_, thread_);
}

bool Receiver::onReceiveThread() const {
  return std::this_thread::get_id() == thread_.get_id();
}

void Receiver::connect(MIDIPortRef port, MIDIEndpointRef source, MIDIReadProc readProc,
                       void* portRefCon, void* connectionRefCon) {
  std::lock_guard lock(mutex_);
  std::erase_if(connections_,
                [&](const Connection& c) { return c.port == port && c.source == source; });
  // A new id, so a list already being handed out with the old refCon cannot use the new one.
  connections_.push_back(
      {nextConnectionId_++, port, source, readProc, portRefCon, connectionRefCon});
  snapshot_.reserve(connections_.size());
}

bool Receiver::disconnect(MIDIPortRef port, MIDIEndpointRef source) {
  std::vector<std::uint64_t> removed;
  std::unique_lock lock(mutex_);
  for (const Connection& c : connections_) {
    if (c.port == port && c.source == source) removed.push_back(c.id);
  }
  std::erase_if(connections_,
                [&](const Connection& c) { return c.port == port && c.source == source; });
  waitUntilNotRunning(removed, lock);
  return !removed.empty();
}

void Receiver::disposePort(MIDIPortRef port) {
  std::vector<std::uint64_t> removed;
  std::unique_lock lock(mutex_);
  for (const Connection& c : connections_) {
    if (c.port == port) removed.push_back(c.id);
  }
  std::erase_if(connections_, [&](const Connection& c) { return c.port == port; });
  waitUntilNotRunning(removed, lock);
}

void Receiver::waitUntilNotRunning(const std::vector<std::uint64_t>& removed,
                                   std::unique_lock<std::mutex>& lock) {
  // From inside a read procedure the running one is the caller itself: waiting would never end.
  if (onReceiveThread()) return;
  progress_.wait(
      lock, [&] { return std::find(removed.begin(), removed.end(), running_) == removed.end(); });
}

std::uint64_t Receiver::deliver(MIDIEndpointRef source, const std::vector<Byte>& packetList) {
  inFlight_.add();
  std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  if (free_.empty()) {
    slots_.push_back(std::make_unique<Slot>());
    slot = slots_.back().get();
    slot->packetList.reserve(std::max(kInitialSlotBytes, packetList.size()));
    free_.reserve(slots_.size());
  } else {
    slot = free_.back();
    free_.pop_back();
  }
  slot->source = source;
  slot->packetList.assign(packetList.begin(), packetList.end());
  push(slot);
  work_.notify_one();
  return ++queued_;
}

void Receiver::push(Slot* slot) {
  if (queueCount_ == queue_.size()) {
    std::vector<Slot*> larger(queue_.size() * 2);
    for (std::size_t i = 0; i < queueCount_; ++i) {
      larger[i] = queue_[(queueHead_ + i) % queue_.size()];
    }
    queue_.swap(larger);
    queueHead_ = 0;
  }
  queue_[(queueHead_ + queueCount_) % queue_.size()] = slot;
  ++queueCount_;
}

Receiver::Slot* Receiver::pop() {
  Slot* slot = queue_[queueHead_];
  queueHead_ = (queueHead_ + 1) % queue_.size();
  --queueCount_;
  return slot;
}

void Receiver::waitFor(std::uint64_t ticket) {
  std::unique_lock lock(mutex_);
  progress_.wait(lock, [&] { return finished_ >= ticket; });
}

bool Receiver::isConnected(std::uint64_t id) const {
  for (const Connection& c : connections_) {
    if (c.id == id) return true;
  }
  return false;
}

void Receiver::run() {
  // Read procedures run here, as on CoreMIDI's receive thread: no diagnostics.
  const RealTimeThread mark;
  std::unique_lock lock(mutex_);
  for (;;) {
    work_.wait(lock, [this] { return stop_ || queueCount_ > 0; });
    if (stop_) return;
    Slot* slot = pop();
    snapshot_.clear();
    for (const Connection& c : connections_) {
      if (c.source == slot->source) snapshot_.push_back(c);
    }
    const auto* packetList = reinterpret_cast<const MIDIPacketList*>(slot->packetList.data());
    for (std::size_t i = 0; i < snapshot_.size(); ++i) {
      const Connection connection = snapshot_[i];
      if (!isConnected(connection.id)) continue;  // disconnected while earlier ones ran
      running_ = connection.id;
      lock.unlock();
      connection.readProc(packetList, connection.portRefCon, connection.connectionRefCon);
      lock.lock();
      running_ = 0;
      progress_.notify_all();
    }
    free_.push_back(slot);
    ++finished_;
    progress_.notify_all();
    lock.unlock();
    inFlight_.done();
    lock.lock();
  }
}

}  // namespace coremidi
