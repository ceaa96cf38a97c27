// JACK's real-time side: no allocation, no lock, no call into the MIDI system. Only port buffers,
// the two send rings, the read procedures of connected input ports, and atomics.
#include <jack/midiport.h>

#include <algorithm>

#include "HostClock.h"
#include "JackBackend.h"
#include "JackTsan.h"
#include "PacketLists.h"

namespace jackmidi {
namespace {

MIDITimeStamp hostTimeOf(jack_time_t jackMicros, std::int64_t offsetNanos) {
  const auto nanos = static_cast<std::int64_t>(jackMicros) * 1000 + offsetNanos;
  return coremidi::nanosToHostTime(static_cast<UInt64>(std::max<std::int64_t>(nanos, 1)));
}

}  // namespace

int JackBackend::process(jack_nframes_t frames, void* self) {
  auto* backend = static_cast<JackBackend*>(self);
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
  backend->cycles_.fetch_add(1, std::memory_order_release);
  return 0;  // anything else stops the callback for good
}

void JackBackend::readInputs(const Cycle& cycle) {
  const std::int64_t offset = clockOffsetNanos_.load(std::memory_order_relaxed);
  for (InputSlot& slot : inputs_) {
    jack_port_t* port = slot.port.load(std::memory_order_acquire);
    const Listener* listener = slot.listener.load(std::memory_order_acquire);
    if (!port || !listener) continue;
    void* buffer = jack_port_get_buffer(port, cycle.frames);
    TONVIK_JACK_BUFFER_TAKEN(buffer);
    const jack_nframes_t count = jack_midi_get_event_count(buffer);
    // One packet per event, in event order, each stamped with the time of its frame.
    for (jack_nframes_t i = 0; i < count; ++i) {
      jack_midi_event_t event;
      if (jack_midi_event_get(&event, buffer, i) != 0 || event.size == 0 ||
          event.size > coremidi::kMaxPacketLength) {
        continue;
      }
      const jack_time_t at = cycle.start + (cycle.next - cycle.start) * event.time / cycle.frames;
      // The list's storage was reserved for the largest packet: neither call allocates.
      coremidi::beginPacketList(packetList_);
      coremidi::appendPacket(packetList_, hostTimeOf(at, offset), event.buffer,
                             static_cast<UInt16>(event.size));
      listener->readProc(coremidi::packetListIn(packetList_), listener->portRefCon,
                         listener->connectionRefCon);
    }
    TONVIK_JACK_BUFFER_DONE(buffer);
  }
}

void JackBackend::writeOutputs(const Cycle& cycle) {
  for (std::size_t slot = 0; slot < kMaxPorts; ++slot) {
    if (jack_port_t* port = outputs_[slot].port.load(std::memory_order_acquire)) {
      void* buffer = jack_port_get_buffer(port, cycle.frames);
      TONVIK_JACK_BUFFER_TAKEN(buffer);
      jack_midi_clear_buffer(buffer);
    }
    lastFrame_[slot] = 0;
  }
  const std::int64_t offset = clockOffsetNanos_.load(std::memory_order_relaxed);

  // Moves the ring's records into their ports' buffers while they fit and, for timed records,
  // while their time falls before the next cycle. What stays waits for a later period, so long
  // system-exclusive messages spread over several.
  auto drain = [&](ByteRing& ring, bool timed) {
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
      jack_port_t* port = nullptr;
      if (header.slot < kMaxPorts) {
        const OutputSlot& slot = outputs_[header.slot];
        port = slot.port.load(std::memory_order_acquire);
        if (slot.generation.load(std::memory_order_relaxed) != header.generation) port = nullptr;
      }
      if (!port) {
        skipRecord(ring, header);  // its port is gone
        continue;
      }
      void* buffer = jack_port_get_buffer(port, cycle.frames);
      frame = std::min(std::max(frame, lastFrame_[header.slot]), cycle.frames - 1);
      if (jack_midi_max_event_size(buffer) < header.size) return;
      jack_midi_data_t* room = jack_midi_event_reserve(buffer, frame, header.size);
      if (!room) return;
      takeRecord(ring, header, room);
      lastFrame_[header.slot] = frame;
    }
  };
  drain(*sendNow_, false);
  drain(*sendTimed_, true);

  for (OutputSlot& slot : outputs_) {
    if (jack_port_t* port = slot.port.load(std::memory_order_acquire)) {
      TONVIK_JACK_BUFFER_DONE(jack_port_get_buffer(port, cycle.frames));
    }
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
