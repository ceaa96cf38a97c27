// A JACK client that plays one long system-exclusive dump, from the first period in which its
// output is connected, and then idles until it is stopped: a test can kill it in the middle of the
// dump, as a crashing synth or editor would be.
// Usage: jack_dump_peer CLIENT BYTES BYTES_PER_PERIOD
// Its output port is CLIENT:out; the first piece starts with F0, the last (if it gets that far)
// ends with F7, and the pieces between hold data bytes only, as JACK carries a long dump. It
// prints how many bytes it has played, a line every 10 ms.
#include <jack/jack.h>
#include <jack/midiport.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

jack_port_t* out = nullptr;
std::size_t total = 0;
std::size_t perPeriod = 0;
// Written by the process thread only; relaxed, as it is only printed.
std::atomic<std::size_t> sent{0};
std::vector<jack_midi_data_t> piece;

int process(jack_nframes_t frames, void*) {
  void* buffer = jack_port_get_buffer(out, frames);
  jack_midi_clear_buffer(buffer);
  const std::size_t done = sent.load(std::memory_order_relaxed);
  if (done == total || (done == 0 && jack_port_connected(out) == 0)) return 0;
  const std::size_t size = std::min(perPeriod, total - done);
  for (std::size_t i = 0; i < size; ++i)
    piece[i] = static_cast<jack_midi_data_t>((done + i) % 0x80);
  if (done == 0) piece[0] = 0xF0;
  if (done + size == total) piece[size - 1] = 0xF7;
  if (jack_midi_event_write(buffer, 0, piece.data(), size) == 0) {
    sent.store(done + size, std::memory_order_relaxed);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s CLIENT BYTES BYTES_PER_PERIOD\n", argv[0]);
    return 2;
  }
  total = std::strtoull(argv[2], nullptr, 10);
  perPeriod = std::strtoull(argv[3], nullptr, 10);
  if (total < 2 || perPeriod == 0) return 2;
  piece.resize(perPeriod);
  jack_status_t status{};
  jack_client_t* client = jack_client_open(argv[1], JackNoStartServer, &status);
  if (!client) return 1;
  out = jack_port_register(client, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  jack_set_process_callback(client, process, nullptr);
  if (!out || jack_activate(client) != 0) return 1;
  for (;;) {
    std::printf("%zu\n", sent.load(std::memory_order_relaxed));
    std::fflush(stdout);
    usleep(10000);
  }
}
