// Helpers shared by the MIDI system tests.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <initializer_list>
#include <thread>
#include <vector>

#include "MidiServices.h"

namespace coremiditest {

// Generous: only a broken system ever waits this long.
inline constexpr auto kPatience = std::chrono::seconds(10);

// Polls until the condition holds; false if it never did within kPatience.
inline bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// A one-packet list on the stack.
struct OnePacket {
  alignas(8) Byte storage[sizeof(MIDIPacketList) + 64] = {};
  MIDIPacketList* list() { return reinterpret_cast<MIDIPacketList*>(storage); }

  OnePacket(MIDITimeStamp time, std::initializer_list<Byte> bytes) {
    const std::vector<Byte> data(bytes);
    MIDIPacket* packet = MIDIPacketListInit(list());
    MIDIPacketListAdd(list(), sizeof storage, packet, time, data.size(), data.data());
  }
};

}  // namespace coremiditest
