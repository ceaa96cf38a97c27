// JACK's real-time side: no allocation, no lock, no call into the MIDI system, no diagnostics. Only
// port buffers, the send rings, the read procedures of connected input ports, and atomics.
#include <jack/midiport.h>

#include <algorithm>

#include "Diagnostics.h"
#include "HostClock.h"
#include "JackBackend.h"
#include "JackTsan.h"
#include "PacketLists.h"

namespace jackmidi {
namespace {

// PipeWire's libjack carries a period's events on in a buffer of the size JACK reports, where each
// event costs 16 bytes beside its bytes padded to 8; events that do not all fit lose the period,
// and an event that fills the buffer to the last byte crashes the client (PipeWire 0.3.65). Every
// port's events are kept within that cost, whatever the server: it leaves jackd room for more
// than 1300 messages a period.
constexpr std::size_t kEventCost = 16;
constexpr std::size_t kPadding = 8;

std::size_t costOf(std::size_t size) {
  return kEventCost + (size + kPadding - 1) / kPadding * kPadding;
}

// The most bytes one more event may carry when `spent` of `capacity` is taken.
std::size_t largestEvent(std::size_t capacity, std::size_t spent) {
  if (spent + kEventCost >= capacity) return 0;
  return (capacity - spent - kEventCost) / kPadding * kPadding;
}

MIDITimeStamp hostTimeOf(jack_time_t jackMicros, std::int64_t offsetNanos) {
  const auto nanos = static_cast<std::int64_t>(jackMicros) * 1000 + offsetNanos;
  return coremidi::nanosToHostTime(static_cast<UInt64>(std::max<std::int64_t>(nanos, 1)));
}

}  // namespace

int JackBackend::process(jack_nframes_t frames, void* self) {
  const coremidi::RealTimeThread mark;
  auto* backend = static_cast<JackBackend*>(self);
  backend->processPasses_.fetch_add(1, std::memory_order_seq_cst);
  Cycle cycle{frames, 0, 0};
  jack_nframes_t firstFrame = 0;
  float periodMicros = 0;
  jack_client_t* client = backend->processClient_.load(std::memory_order_acquire);
  if (!client ||
      jack_get_cycle_times(client, &firstFrame, &cycle.start, &cycle.next, &periodMicros) != 0 ||
      cycle.next <= cycle.start) {
    cycle.start = jack_get_time();
    cycle.next = cycle.start + 1;
  }
  backend->readInputs(cycle);
  backend->writeOutputs(cycle);
  backend->processPasses_.fetch_add(1, std::memory_order_seq_cst);
  return 0;  // anything else stops the callback for good
}

void JackBackend::readInputs(const Cycle& cycle) {
  const std::int64_t offset = clockOffsetNanos_.load(std::memory_order_relaxed);
  for (InputSlot& slot : inputs_) {
    jack_port_t* port = slot.port.load(std::memory_order_seq_cst);
    const Listener* listener = slot.listener.load(std::memory_order_seq_cst);
    if (!port || !listener) continue;
    void* buffer = jack_port_get_buffer(port, cycle.frames);
    TONVIK_JACK_BUFFER_TAKEN(buffer);
    const jack_nframes_t count = jack_midi_get_event_count(buffer);
    // One packet per event, in event order, each stamped with the time of its frame; an event
    // longer than a packet takes goes on as a start and continuations, as a driver cuts a dump.
    for (jack_nframes_t i = 0; i < count; ++i) {
      jack_midi_event_t event;
      if (jack_midi_event_get(&event, buffer, i) != 0 || event.size == 0) continue;
      const jack_time_t at = cycle.start + (cycle.next - cycle.start) * event.time / cycle.frames;
      const MIDITimeStamp stamp = hostTimeOf(at, offset);
      for (std::size_t done = 0; done < event.size; done += coremidi::kMaxPacketLength) {
        const std::size_t length = std::min(event.size - done, coremidi::kMaxPacketLength);
        // The list's storage was reserved for the largest packet: neither call allocates.
        coremidi::beginPacketList(packetList_);
        coremidi::appendPacket(packetList_, stamp, event.buffer + done,
                               static_cast<UInt16>(length));
        listener->readProc(coremidi::packetListIn(packetList_), listener->portRefCon,
                           listener->connectionRefCon);
      }
    }
    TONVIK_JACK_BUFFER_DONE(buffer);
  }
}

void JackBackend::writeOutputs(const Cycle& cycle) {
  // The ports are taken once per cycle, so every record of the cycle sees the same port and its
  // buffer cleared.
  for (std::size_t slot = 0; slot < kMaxPorts; ++slot) {
    CyclePort& taken = cyclePorts_[slot];
    taken = CyclePort{};
    jack_port_t* port = outputs_[slot].port.load(std::memory_order_seq_cst);
    if (!port) continue;
    taken.port = port;
    taken.generation = outputs_[slot].generation.load(std::memory_order_relaxed);
    taken.buffer = jack_port_get_buffer(port, cycle.frames);
    TONVIK_JACK_BUFFER_TAKEN(taken.buffer);
    jack_midi_clear_buffer(taken.buffer);
    taken.emptyRoom = jack_midi_max_event_size(taken.buffer);
  }
  const std::int64_t offset = clockOffsetNanos_.load(std::memory_order_relaxed);
  drain(*sendNow_, false, cycle, offset);
  drain(*sendSysex_, false, cycle, offset);
  drain(*sendTimed_, true, cycle, offset);
  for (const CyclePort& taken : cyclePorts_) {
    if (taken.buffer) TONVIK_JACK_BUFFER_DONE(taken.buffer);
  }
}

// Moves a queue's records into their ports' buffers while they fit and, for timed records, while
// their time falls before the next cycle. What stays waits for a later period, in order.
void JackBackend::drain(SendQueue& queue, bool timed, const Cycle& cycle, std::int64_t offset) {
  ByteRing& ring = queue.ring;
  RecordHeader header;
  while (peekRecord(ring, header)) {
    jack_nframes_t frame = 0;
    if (timed && header.due != 0) {
      const auto nanos = static_cast<std::int64_t>(coremidi::hostTimeToNanos(header.due));
      const std::int64_t micros = (nanos - offset) / 1000;
      const auto start = static_cast<std::int64_t>(cycle.start);
      const auto next = static_cast<std::int64_t>(cycle.next);
      if (micros >= next) return;
      if (micros > start) {
        frame = static_cast<jack_nframes_t>((micros - start) * cycle.frames / (next - start));
      }
    }
    if (header.slot >= kMaxPorts ||
        outputs_[header.slot].generation.load(std::memory_order_relaxed) != header.generation ||
        !outputs_[header.slot].port.load(std::memory_order_seq_cst)) {
      skipRecord(ring, header);  // its port is gone
      queue.written = 0;
      continue;
    }
    CyclePort& taken = cyclePorts_[header.slot];
    if (!taken.buffer || taken.generation != header.generation)
      return;  // a port newer than the cycle
    frame = std::min(std::max(frame, taken.lastFrame), cycle.frames - 1);
    const std::size_t left = header.size - queue.written;
    const std::size_t room = std::min(jack_midi_max_event_size(taken.buffer),
                                      largestEvent(taken.emptyRoom, taken.spent));
    std::size_t piece = left;
    if (left > room) {
      // Only a message that no period's buffer takes whole goes out in pieces, as much of it as
      // each period takes; anything else waits for a period with room for all of it.
      if (left <= largestEvent(taken.emptyRoom, 0) || room == 0) return;
      piece = room;
    }
    jack_midi_data_t* place = jack_midi_event_reserve(taken.buffer, frame, piece);
    if (!place) return;
    ring.peek(place, piece, sizeof header + queue.written);
    taken.lastFrame = frame;
    taken.spent += costOf(piece);
    queue.written += piece;
    if (queue.written < header.size) return;  // the buffer is full
    skipRecord(ring, header);
    queue.written = 0;
  }
}

// JACK's notification thread may ask the server nothing: it only flags the backend's thread.
void JackBackend::portRegistered(jack_port_id_t, int, void* self) {
  static_cast<JackBackend*>(self)->portsChanged_.store(true, std::memory_order_release);
}

void JackBackend::portRenamed(jack_port_id_t, const char*, const char*, void* self) {
  static_cast<JackBackend*>(self)->portsChanged_.store(true, std::memory_order_release);
}

// A client that closes takes its ports along without announcing each of them.
void JackBackend::clientRegistered(const char*, int, void* self) {
  static_cast<JackBackend*>(self)->portsChanged_.store(true, std::memory_order_release);
}

// A pretty name set or removed renames an endpoint.
void JackBackend::propertyChanged(jack_uuid_t, const char*, jack_property_change_t, void* self) {
  static_cast<JackBackend*>(self)->portsChanged_.store(true, std::memory_order_release);
}

void JackBackend::serverShutDown(jack_status_t, const char*, void* self) {
  static_cast<JackBackend*>(self)->serverGone_.store(true, std::memory_order_release);
}

}  // namespace jackmidi
