// Joins the pieces of system-exclusive transfers back into whole messages. The MIDI system hands
// a transfer on in packets of 256 bytes, but a JACK receiver expects each event to be one
// complete message: synths and bridges drop pieces.
//
// A message is emitted whole once its F7 arrives. One longer than `limit` bytes is emitted in
// pieces of `limit` bytes (the first starts with F0, the last ends with F7), since no period's
// buffer could take it whole anyway. A message cut off by a new F0 (a transfer that was
// abandoned) is dropped, except for the pieces of it already emitted. Bytes outside any message
// are passed on as they came, one emission per run.
#pragma once

#include <cstddef>
#include <vector>

#include "MidiServices.h"
#include "MidiStatusBytes.h"

namespace jackmidi {

class SysexJoiner {
 public:
  explicit SysexJoiner(std::size_t limit) : limit_(limit) { message_.reserve(limit); }

  // `emit(const Byte* bytes, std::size_t size)` is called for every whole message, piece of an
  // over-long message and run of stray bytes, in order.
  template <typename Emit>
  void feed(const Byte* data, std::size_t size, Emit&& emit) {
    std::size_t at = 0;
    while (at < size) {
      if (!inMessage_) {
        std::size_t end = at;
        while (end < size && data[end] != coremidi::kSysexStart) ++end;
        if (end > at) emit(data + at, end - at);
        if (end == size) return;
        inMessage_ = true;
        message_.clear();
        at = end;
      }
      // Inside a message: up to and including its F7, or up to a new F0 that abandons it.
      for (; at < size; ++at) {
        const Byte byte = data[at];
        if (byte == coremidi::kSysexStart && !message_.empty()) message_.clear();
        message_.push_back(byte);
        if (byte == coremidi::kSysexEnd) {
          emit(message_.data(), message_.size());
          message_.clear();
          inMessage_ = false;
          ++at;
          break;
        }
        if (message_.size() == limit_) {
          emit(message_.data(), message_.size());
          message_.clear();
        }
      }
    }
  }

  // Drops a message in progress (its transfer was abandoned, or its port went away).
  void reset() {
    message_.clear();
    inMessage_ = false;
  }

 private:
  const std::size_t limit_;
  bool inMessage_ = false;
  std::vector<Byte> message_;
};

}  // namespace jackmidi
