#include "JackRig.h"

#include <jack/midiport.h>

namespace jackbench {
namespace {

constexpr std::uint8_t kNoteOn = 0x90;
constexpr std::uint8_t kDataMask = 0x7F;
constexpr std::uint32_t kVelocities = 127;  // 1 to 127: never a note-off in disguise

}  // namespace

MidiClient::MidiClient(const std::string& name, bool withInput) {
  jack_status_t status{};
  client_ = jack_client_open(name.c_str(), JackNoStartServer, &status);
  if (client_ == nullptr) return;
  if (withInput)
    in_ = jack_port_register(client_, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
  out_ = jack_port_register(client_, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  jack_set_process_callback(client_, onProcess, this);
}

MidiClient::~MidiClient() {
  close();
}

void MidiClient::close() {
  if (client_ == nullptr) return;
  jack_deactivate(client_);
  jack_client_close(client_);
  client_ = nullptr;
}

// Called by the derived constructor: the process callback must not run before the object is
// whole.
bool MidiClient::activate() {
  if (client_ != nullptr && jack_activate(client_) != 0) {
    jack_client_close(client_);
    client_ = nullptr;
  }
  return client_ != nullptr;
}

std::string MidiClient::inName() const {
  return client_ != nullptr && in_ != nullptr ? jack_port_name(in_) : "";
}

std::string MidiClient::outName() const {
  return client_ != nullptr ? jack_port_name(out_) : "";
}

double MidiClient::periodSeconds() const {
  if (client_ == nullptr) return 0;
  return static_cast<double>(jack_get_buffer_size(client_)) / jack_get_sample_rate(client_);
}

int MidiClient::onProcess(jack_nframes_t frames, void* self) {
  static_cast<MidiClient*>(self)->process(frames);
  return 0;
}

LoopClient::LoopClient(const std::string& name) : MidiClient(name, true) {
  activate();
}

void LoopClient::process(jack_nframes_t frames) {
  void* in = jack_port_get_buffer(in_, frames);
  void* out = jack_port_get_buffer(out_, frames);
  jack_midi_clear_buffer(out);
  const std::uint32_t count = jack_midi_get_event_count(in);
  for (std::uint32_t i = 0; i < count; ++i) {
    jack_midi_event_t event;
    if (jack_midi_event_get(&event, in, i) == 0) {
      jack_midi_event_write(out, event.time, event.buffer, event.size);
    }
  }
}

Feeder::Feeder(const std::string& name) : MidiClient(name, false) {
  activate();
}

void Feeder::start(std::uint32_t perPeriod, std::uint32_t periods) {
  perPeriod_ = perPeriod;
  sent_.store(0, std::memory_order_relaxed);
  firstAt_.store(0, std::memory_order_relaxed);
  left_.store(periods, std::memory_order_release);
}

double Feeder::streamSeconds() const {
  return static_cast<double>(endAt_.load(std::memory_order_relaxed) -
                             firstAt_.load(std::memory_order_relaxed)) *
         1e-6;
}

void Feeder::process(jack_nframes_t frames) {
  void* out = jack_port_get_buffer(out_, frames);
  jack_midi_clear_buffer(out);
  const std::uint32_t left = left_.load(std::memory_order_acquire);
  if (left == 0) return;
  jack_nframes_t current = 0;
  jack_time_t periodStart = 0;
  jack_time_t nextStart = 0;
  float periodMicros = 0;
  jack_get_cycle_times(client_, &current, &periodStart, &nextStart, &periodMicros);
  if (firstAt_.load(std::memory_order_relaxed) == 0) {
    firstAt_.store(periodStart, std::memory_order_relaxed);
  }
  std::uint64_t sent = sent_.load(std::memory_order_relaxed);
  for (std::uint32_t i = 0; i < perPeriod_; ++i) {
    const auto at = static_cast<jack_nframes_t>(std::uint64_t{i} * frames / perPeriod_);
    const jack_midi_data_t event[3] = {
        kNoteOn, static_cast<jack_midi_data_t>(sent & kDataMask),
        static_cast<jack_midi_data_t>(1 + (sent >> 7) % kVelocities)};
    if (jack_midi_event_write(out, at, event, sizeof event) == 0) ++sent;
  }
  endAt_.store(nextStart, std::memory_order_relaxed);
  sent_.store(sent, std::memory_order_release);
  left_.store(left - 1, std::memory_order_release);
}

}  // namespace jackbench
