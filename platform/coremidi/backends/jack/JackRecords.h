// Records that cross from the senders to JACK's process thread, each through a ring with exactly
// one writer and one reader: a header, then `size` MIDI bytes.
#pragma once

#include <jack/types.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ByteRing.h"
#include "MidiServices.h"

namespace jackmidi {

// Own ports of each direction; a fixed table, so the process thread never allocates.
inline constexpr std::size_t kMaxPorts = 128;

struct RecordHeader {
  std::uint32_t slot;        // index in the output port table
  std::uint32_t generation;  // of the slot when the record was made; a reused slot drops it
  std::uint32_t size;        // bytes that follow
  std::uint32_t unused = 0;
  MIDITimeStamp due = 0;  // host time to play it at; 0: as soon as possible
};

// The process cycle under way, in JACK's microseconds: [start, next) holds `frames` frames.
struct Cycle {
  jack_nframes_t frames;
  jack_time_t start;
  jack_time_t next;
};

// Publishes header and bytes together, or nothing, so a reader never sees half a record.
inline bool writeRecord(ByteRing& ring, const RecordHeader& header, const void* bytes) {
  if (ring.writeSpace() < sizeof header + header.size) return false;
  unsigned char packed[sizeof header];
  std::memcpy(packed, &header, sizeof header);
  ring.writeTwo(packed, sizeof header, bytes, header.size);
  return true;
}

// True when a whole record is waiting; its header is copied out but not consumed.
inline bool peekRecord(const ByteRing& ring, RecordHeader& header) {
  const std::size_t readable = ring.readSpace();
  if (readable < sizeof header) return false;
  ring.peek(&header, sizeof header);
  return readable >= sizeof header + header.size;
}

// The bytes of the record whose header was peeked, then the record is consumed.
inline void takeRecord(ByteRing& ring, const RecordHeader& header, void* bytes) {
  ring.peek(bytes, header.size, sizeof header);
  ring.advance(sizeof header + header.size);
}

inline void skipRecord(ByteRing& ring, const RecordHeader& header) {
  ring.advance(sizeof header + header.size);
}

}  // namespace jackmidi
