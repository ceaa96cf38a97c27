#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "MidiServices.h"

namespace {

TEST(PacketListTest, PacketsArePackedBehindTheLastDataByteWhileTheyFit) {
  alignas(8) Byte storage[128];
  auto* list = reinterpret_cast<MIDIPacketList*>(storage);
  MIDIPacket* packet = MIDIPacketListInit(list);
  const Byte noteOn[] = {0x90, 0x3C, 0x64};
  const Byte clock[] = {0xF8};
  packet = MIDIPacketListAdd(list, sizeof storage, packet, 0, sizeof noteOn, noteOn);
  ASSERT_NE(packet, nullptr);
  MIDIPacket* second = MIDIPacketListAdd(list, sizeof storage, packet, 7, sizeof clock, clock);
  ASSERT_NE(second, nullptr);

  EXPECT_EQ(list->numPackets, 2u);
  const Byte* bytes = storage;
  // numPackets, then timeStamp(8) length(2) data(3), then the next packet at once.
  EXPECT_EQ(reinterpret_cast<Byte*>(second) - bytes, 4 + 8 + 2 + 3);
  EXPECT_EQ(MIDIPacketNext(&list->packet[0]), second);
  // Copies: packed fields may sit at any address, so no reference may bind to them.
  const MIDITimeStamp time = second->timeStamp;
  const UInt16 length = second->length;
  EXPECT_EQ(time, 7u);
  EXPECT_EQ(length, 1);
  EXPECT_EQ(second->data[0], 0xF8);

  // A packet that would pass the list's size is refused: 28 bytes used, room for 13 more.
  const std::size_t listSize = 28 + 10 + 3;
  const Byte four[] = {0x90, 0x3C, 0x64, 0x00};
  EXPECT_EQ(MIDIPacketListAdd(list, listSize, second, 9, 4, four), nullptr);
  EXPECT_EQ(list->numPackets, 2u);
  EXPECT_NE(MIDIPacketListAdd(list, listSize, second, 9, 3, four), nullptr);
  EXPECT_EQ(list->numPackets, 3u);
}

}  // namespace
