#include "SysexSender.h"

#include <algorithm>

#include "MidiSystemControl.h"
#include "WorkerThread.h"

namespace coremidi {
namespace {

// A careful driver never leaves the closing F7 alone in the last packet: a piece that would
// leave a single byte behind gives one of its own to the last piece.
UInt32 chunkLength(UInt32 bytesToSend) {
  const UInt32 chunk = std::min<UInt32>(bytesToSend, midisystem::kSysexChunkSize);
  return bytesToSend - chunk == 1 ? chunk - 1 : chunk;
}

}  // namespace

SysexSender::SysexSender(InFlight& inFlight, ChunkSink sink)
    : inFlight_(inFlight), sink_(std::move(sink)) {
  thread_ = std::thread([this] { run(); });
}

SysexSender::~SysexSender() {
  stopWorker(mutex_, stop_, changed_, thread_);
}

void SysexSender::submit(MIDISysexSendRequest* request, bool neverComplete) {
  inFlight_.add();
  std::lock_guard lock(mutex_);
  jobs_.push_back({request, neverComplete});
  changed_.notify_all();
}

void SysexSender::limitChunks(int chunks) {
  std::lock_guard lock(mutex_);
  permits_ = chunks;
  changed_.notify_all();
}

bool SysexSender::takePermit() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return stop_ || permits_ != 0; });
  if (stop_) return false;
  if (permits_ > 0) --permits_;
  return true;
}

void SysexSender::run() {
  for (;;) {
    Job job{};
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return stop_ || !jobs_.empty(); });
      if (stop_) return;
      job = jobs_.front();
      jobs_.pop_front();
    }
    if (!job.neverComplete) transfer(*job.request);
    inFlight_.done();
  }
}

void SysexSender::transfer(MIDISysexSendRequest& request) {
  // The sender may set `complete` from its own thread while the transfer runs; acquire pairs with
  // its release store so that nothing it did before is missed.
  std::atomic_ref<Boolean> complete(request.complete);
  while (request.bytesToSend > 0) {
    if (!takePermit()) return;
    if (complete.load(std::memory_order_acquire)) break;
    const auto length = static_cast<UInt16>(chunkLength(request.bytesToSend));
    sink_(request.destination, request.data, length);
    request.data += length;
    request.bytesToSend -= length;
    chunksSent_.fetch_add(1, std::memory_order_relaxed);
  }
  complete.store(true, std::memory_order_release);
  // The request may be freed by its completion procedure: nothing touches it afterwards.
  if (request.completionProc) request.completionProc(&request);
}

}  // namespace coremidi
