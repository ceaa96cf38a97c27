#include "JackRig.h"

#include <fcntl.h>
#include <jack/midiport.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace jackbench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPollStep = std::chrono::milliseconds(5);
constexpr double kServerPatienceSeconds = 10.0;
constexpr double kStopPatienceSeconds = 10.0;

constexpr std::uint8_t kNoteOn = 0x90;
constexpr std::uint8_t kDataMask = 0x7F;
constexpr std::uint32_t kVelocities = 127;  // 1 to 127: never a note-off in disguise

bool serverAnswers() {
  jack_status_t status{};
  jack_client_t* probe = jack_client_open("probe", JackNoStartServer, &status);
  if (probe == nullptr) return false;
  jack_client_close(probe);
  return true;
}

}  // namespace

Child::Child(const std::vector<std::string>& arguments, const std::string& outputFile) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const int out = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  pid_ = fork();
  if (pid_ == 0) {
    // A server left behind would keep its files in /dev/shm.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    dup2(out, STDOUT_FILENO);
    dup2(out, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(out);
}

Child::~Child() {
  stop();
}

bool Child::running() {
  if (pid_ <= 0) return false;
  int status = 0;
  if (waitpid(pid_, &status, WNOHANG) == pid_) pid_ = -1;
  return pid_ > 0;
}

bool Child::wait(double seconds) {
  const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
  while (running()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(kPollStep);
  }
  return true;
}

void Child::stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  if (wait(kStopPatienceSeconds)) return;
  kill(pid_, SIGKILL);  // only if SIGTERM was ignored
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
}

PrivateServer::PrivateServer(const std::string& jackd, std::uint32_t rate, std::uint32_t period)
    : name_("tonvik-bench-" + std::to_string(getpid())),
      child_(
          [&] {
            setenv("JACK_DEFAULT_SERVER", name_.c_str(), 1);
            setenv("JACK_NO_START_SERVER", "1", 1);
            // Plain scheduling (the first -r): containers refuse real-time priorities.
            return std::vector<std::string>{jackd, "-r",
                                            "-n",  name_,
                                            "-d",  "dummy",
                                            "-r",  std::to_string(rate),
                                            "-p",  std::to_string(period)};
          }(),
          "/dev/null") {
  // The probes fail until the server is up; libjack would say so on every try, and later on
  // every full buffer from the real-time thread.
  jack_set_error_function([](const char*) {});
  jack_set_info_function([](const char*) {});
  const auto deadline = Clock::now() + std::chrono::duration<double>(kServerPatienceSeconds);
  while (child_.running() && Clock::now() < deadline) {
    if (serverAnswers()) {
      ready_ = true;
      return;
    }
    std::this_thread::sleep_for(kPollStep);
  }
}

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
