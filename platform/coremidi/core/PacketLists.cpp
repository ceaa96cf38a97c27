#include "PacketLists.h"

#include <cstring>

#include "CallCounter.h"

namespace coremidi {

void beginPacketList(std::vector<Byte>& buffer) {
  buffer.resize(kMIDIPacketListHeaderSize);
  const UInt32 none = 0;
  std::memcpy(buffer.data(), &none, sizeof none);
}

void appendPacket(std::vector<Byte>& buffer, MIDITimeStamp timeStamp, const Byte* data,
                  UInt16 length) {
  const std::size_t at = buffer.size();
  buffer.resize(at + kMIDIPacketHeaderSize + length);
  Byte* packet = buffer.data() + at;
  std::memcpy(packet, &timeStamp, sizeof timeStamp);
  std::memcpy(packet + sizeof timeStamp, &length, sizeof length);
  if (length > 0) std::memcpy(packet + kMIDIPacketHeaderSize, data, length);
  const UInt32 count = packetCount(buffer) + 1;
  std::memcpy(buffer.data(), &count, sizeof count);
}

const MIDIPacketList* packetListIn(const std::vector<Byte>& buffer) {
  return reinterpret_cast<const MIDIPacketList*>(buffer.data());
}

UInt32 packetCount(const std::vector<Byte>& buffer) {
  UInt32 count = 0;
  std::memcpy(&count, buffer.data(), sizeof count);
  return count;
}

}  // namespace coremidi

using coremidi::ApiFunction;
using coremidi::countCall;

extern "C" {

MIDIPacket* MIDIPacketListInit(MIDIPacketList* packetList) {
  countCall(ApiFunction::MIDIPacketListInit);
  packetList->numPackets = 0;
  return packetList->packet;
}

MIDIPacket* MIDIPacketListAdd(MIDIPacketList* packetList, ItemCount listSize, MIDIPacket* current,
                              MIDITimeStamp time, ItemCount dataSize, const Byte* data) {
  countCall(ApiFunction::MIDIPacketListAdd);
  if (dataSize > coremidi::kMaxPacketLength) return nullptr;
  MIDIPacket* next = packetList->numPackets == 0 ? current : MIDIPacketNext(current);
  const auto* listStart = reinterpret_cast<const Byte*>(packetList);
  const auto* packetEnd = reinterpret_cast<const Byte*>(next) + kMIDIPacketHeaderSize + dataSize;
  if (packetEnd > listStart + listSize) return nullptr;
  next->timeStamp = time;
  next->length = static_cast<UInt16>(dataSize);
  // Through a byte pointer: a packet may run past the declared size of `data`.
  if (dataSize > 0)
    std::memcpy(reinterpret_cast<Byte*>(next) + kMIDIPacketHeaderSize, data, dataSize);
  ++packetList->numPackets;
  return next;
}

}  // extern "C"
