// Programs run beside the JACK tests and benchmarks: children started and stopped by PID, and a
// jackd on the dummy driver.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace jackrig {

// A program run as a child with its standard output in `outputFile`, stopped by SIGTERM to its
// PID, and by the kernel should this process die first.
class Child {
 public:
  Child(const std::vector<std::string>& arguments, const std::string& outputFile = "/dev/null");
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  // False once the program has ended.
  bool running();
  // Waits for the program to end by itself; false if it still runs after `seconds`.
  bool wait(double seconds);
  void stop();

 private:
  pid_t pid_ = -1;
};

// The JACK server of this process: the one JACK_DEFAULT_SERVER names if it answers (CI starts
// one per run), else `jackd -r -n NAME -d dummy -r 48000 -p 256` of its own, stopped when this
// goes. Also forbids this process's clients to start a server of their own.
class JackServer {
 public:
  explicit JackServer(std::string jackdProgram) : jackd_(std::move(jackdProgram)) {}
  // `mustOwn`: always a server of our own. False if none answers.
  bool start(bool mustOwn = false);

 private:
  bool startNamed(const std::string& name);
  std::string jackd_;
  std::unique_ptr<Child> child_;
};

}  // namespace jackrig
