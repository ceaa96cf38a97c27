// What the JACK benchmarks run beside the Xtra (on a jackd of their own, see JackServerRig.h): a
// loop client that sends back what it receives, and a feeder that plays a steady dense stream.
#pragma once

#include <jack/jack.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace jackbench {

// A client with a MIDI input "in" and output "out", and the process callback that fills them.
class MidiClient {
 public:
  MidiClient(const std::string& name, bool withInput);
  virtual ~MidiClient();
  MidiClient(const MidiClient&) = delete;
  MidiClient& operator=(const MidiClient&) = delete;
  bool open() const { return client_ != nullptr; }
  std::string inName() const;
  std::string outName() const;
  // The server's period: its buffer size over its sample rate.
  double periodSeconds() const;

 protected:
  bool activate();
  // Derived destructors call it first: no process callback may run into a half-destroyed object.
  void close();
  virtual void process(jack_nframes_t frames) = 0;
  jack_client_t* client_ = nullptr;
  jack_port_t* in_ = nullptr;
  jack_port_t* out_ = nullptr;

 private:
  static int onProcess(jack_nframes_t frames, void* self);
};

// Copies every event of "in" to "out" in the same period, at the same frame.
class LoopClient : public MidiClient {
 public:
  explicit LoopClient(const std::string& name);
  ~LoopClient() override { close(); }

 private:
  void process(jack_nframes_t frames) override;
};

// Plays `perPeriod` note-ons spread evenly over each of `periods` periods, once per start().
class Feeder : public MidiClient {
 public:
  explicit Feeder(const std::string& name);
  ~Feeder() override { close(); }
  void start(std::uint32_t perPeriod, std::uint32_t periods);
  bool finished() const { return left_.load(std::memory_order_acquire) == 0; }
  std::uint64_t sent() const { return sent_.load(std::memory_order_acquire); }
  // JACK time in microseconds from the first period of the stream to the end of the last.
  double streamSeconds() const;

 private:
  void process(jack_nframes_t frames) override;
  // Written by start() while no stream runs; left_'s release store publishes it to the process
  // thread, whose release stores of left_ and sent_ publish its counts back.
  std::uint32_t perPeriod_ = 0;
  std::atomic<std::uint32_t> left_{0};
  std::atomic<std::uint64_t> sent_{0};
  std::atomic<jack_time_t> firstAt_{0};
  std::atomic<jack_time_t> endAt_{0};
};

}  // namespace jackbench
