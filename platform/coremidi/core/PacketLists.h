// Packet lists kept in byte buffers: the system copies what it is given into lists of its own.
#pragma once

#include <cstddef>
#include <vector>

#include "MidiServices.h"

namespace coremidi {

// Largest data of one packet: its length is a 16-bit count.
inline constexpr std::size_t kMaxPacketLength = 0xFFFF;

// Makes `buffer` an empty list. Reuses the buffer's storage.
void beginPacketList(std::vector<Byte>& buffer);
// Appends a packet; allocates only when the buffer's capacity is too small.
void appendPacket(std::vector<Byte>& buffer, MIDITimeStamp timeStamp, const Byte* data,
                  UInt16 length);
const MIDIPacketList* packetListIn(const std::vector<Byte>& buffer);
UInt32 packetCount(const std::vector<Byte>& buffer);

template <typename Visit>
void forEachPacket(const MIDIPacketList* list, Visit visit) {
  const MIDIPacket* packet = list->packet;
  for (UInt32 i = 0; i < list->numPackets; ++i) {
    visit(*packet);
    packet = MIDIPacketNext(packet);
  }
}

}  // namespace coremidi
