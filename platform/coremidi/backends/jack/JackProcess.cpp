// JACK's real-time side: no allocation, no lock, no call into the MIDI system. Only port buffers,
// the two rings and atomics.
#include <jack/midiport.h>

#include "JackBackend.h"
#include "JackTsan.h"

namespace jackmidi {

int JackBackend::process(jack_nframes_t frames, void* self) {
  auto* backend = static_cast<JackBackend*>(self);
  backend->readInputs(frames);
  backend->writeOutputs(frames);
  // Release: a thread that sees the count move knows this cycle no longer uses a cleared port.
  backend->cycles_.fetch_add(1, std::memory_order_release);
  return 0;  // anything else stops the callback for good
}

void JackBackend::readInputs(jack_nframes_t frames) {
  for (std::size_t slot = 0; slot < kMaxPorts; ++slot) {
    jack_port_t* port = inputs_[slot].port.load(std::memory_order_acquire);
    if (!port) continue;
    const std::uint32_t generation = inputs_[slot].generation.load(std::memory_order_relaxed);
    void* buffer = jack_port_get_buffer(port, frames);
    TONVIK_JACK_BUFFER_READ(buffer);
    const jack_nframes_t count = jack_midi_get_event_count(buffer);
    for (jack_nframes_t i = 0; i < count; ++i) {
      jack_midi_event_t event;
      if (jack_midi_event_get(&event, buffer, i) != 0 || event.size == 0) continue;
      const RecordHeader header{static_cast<std::uint32_t>(slot), generation,
                                static_cast<std::uint32_t>(event.size)};
      if (!writeRecord(*received_, header, event.buffer)) {
        receivedDropped_.fetch_add(1, std::memory_order_relaxed);
      }
    }
  }
}

void JackBackend::writeOutputs(jack_nframes_t frames) {
  for (PortSlot& slot : outputs_) {
    if (jack_port_t* port = slot.port.load(std::memory_order_acquire)) {
      jack_midi_clear_buffer(jack_port_get_buffer(port, frames));
    }
  }

  // Everything goes out at the start of the period, in the order sent; what does not fit in a
  // port's buffer waits in the ring for the next period, so long sysex spreads over periods.
  RecordHeader header;
  while (peekRecord(*toSend_, header)) {
    jack_port_t* port = nullptr;
    if (header.slot < kMaxPorts) {
      const PortSlot& slot = outputs_[header.slot];
      port = slot.port.load(std::memory_order_acquire);
      if (slot.generation.load(std::memory_order_relaxed) != header.generation) port = nullptr;
    }
    if (port) {
      void* buffer = jack_port_get_buffer(port, frames);
      if (jack_midi_max_event_size(buffer) < header.size) break;
      jack_midi_data_t* room = jack_midi_event_reserve(buffer, 0, header.size);
      if (!room) break;
      takeRecord(*toSend_, header, room);
    } else {
      // Its destination is gone.
      toSend_->advance(sizeof header + header.size);
    }
  }
  for (PortSlot& slot : outputs_) {
    if (jack_port_t* port = slot.port.load(std::memory_order_acquire)) {
      TONVIK_JACK_BUFFER_WRITTEN(jack_port_get_buffer(port, frames));
    }
  }
}

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

void JackBackend::serverShutDown(jack_status_t, const char*, void* self) {
  static_cast<JackBackend*>(self)->serverGone_.store(true, std::memory_order_release);
}

}  // namespace jackmidi
