#include "JackServerRig.h"

#include <fcntl.h>
#include <jack/jack.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace jackrig {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPollStep = std::chrono::milliseconds(5);
// For a child to end on SIGTERM, and for a new server to answer.
constexpr double kPatienceSeconds = 10.0;
// A few fixed names rather than fresh ones: libjack's registry of servers (eight places) frees
// the place of a server that died unannounced only for a new server of the same name.
constexpr int kServerNames = 4;

// True when a JACK server answers under the name JACK_DEFAULT_SERVER gives.
bool serverAnswers() {
  jack_status_t status{};
  jack_client_t* probe = jack_client_open("probe", JackNoStartServer, &status);
  if (probe) jack_client_close(probe);
  return probe != nullptr;
}

}  // namespace

Child::Child(const std::vector<std::string>& arguments, const std::string& outputFile) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const int out = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const int null = open("/dev/null", O_WRONLY);
  pid_ = fork();
  if (pid_ == 0) {
    // A server left behind by a crashed test would hold its name for good.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    dup2(out, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(out);
  close(null);
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
  if (wait(kPatienceSeconds)) return;
  kill(pid_, SIGKILL);  // only if SIGTERM was ignored
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
}

bool JackServer::start(bool mustOwn) {
  setenv("JACK_NO_START_SERVER", "1", 1);
  // The probes fail until a server is up; libjack would say so on every try.
  jack_set_error_function([](const char*) {});
  jack_set_info_function([](const char*) {});
  const char* given = std::getenv("JACK_DEFAULT_SERVER");
  if (!mustOwn && given && *given && serverAnswers()) return true;
  for (int i = 0; i < kServerNames; ++i) {
    if (startNamed("tonvik-test-" + std::to_string(i))) return true;
  }
  return false;
}

bool JackServer::startNamed(const std::string& name) {
  setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
  if (serverAnswers()) return false;  // another test has it
  // Plain scheduling (the first -r): containers refuse real-time priorities.
  child_ = std::make_unique<Child>(std::vector<std::string>{jackd_, "-r", "-n", name, "-d", "dummy",
                                                            "-r", "48000", "-p", "256"});
  const auto deadline = Clock::now() + std::chrono::duration<double>(kPatienceSeconds);
  while (child_->running() && Clock::now() < deadline) {
    if (serverAnswers()) return true;
    std::this_thread::sleep_for(kPollStep);
  }
  child_.reset();
  return false;
}

}  // namespace jackrig
