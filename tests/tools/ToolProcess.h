// The message window run as a user runs it: `tonvik [OPTIONS] script.ls` in a folder of its own,
// with standard output and standard error caught in files.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace tonvik::testing {

inline constexpr const char* kScriptName = "script.ls";

inline std::string slurp(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct Outcome {
  int rawStatus = 0;
  std::string out;
  std::string err;
};

class ToolProcess {
 public:
  // Starts the tool on `script`, under `ulimit -v` when given an address-space limit (bytes).
  explicit ToolProcess(const std::string& script, rlim_t addressSpaceLimit = RLIM_INFINITY)
      : folder_(::testing::TempDir() + "tonvik-run-XXXXXX") {
    EXPECT_NE(mkdtemp(folder_.data()), nullptr);
    std::ofstream(path(kScriptName), std::ios::binary) << script;
    const std::string outPath = path("out");
    const std::string errPath = path("err");
    pid_ = fork();
    if (pid_ == 0) {
      int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      if (out < 0 || err < 0 || chdir(folder_.c_str()) != 0) _exit(127);
      dup2(out, STDOUT_FILENO);
      dup2(err, STDERR_FILENO);
      rlimit limit{addressSpaceLimit, addressSpaceLimit};
      if (addressSpaceLimit != RLIM_INFINITY && setrlimit(RLIMIT_AS, &limit) != 0) _exit(127);
      execl(TONVIK_TOOL_PATH, TONVIK_TOOL_PATH, kScriptName, nullptr);
      _exit(127);
    }
  }

  ~ToolProcess() {
    if (running()) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    std::filesystem::remove_all(folder_);
  }

  ToolProcess(const ToolProcess&) = delete;
  ToolProcess& operator=(const ToolProcess&) = delete;

  // Waits until standard output holds `text`; false if the tool ends or `timeout` passes first.
  bool waitForOutput(const std::string& text, std::chrono::seconds timeout) {
    bool found = false;
    poll([&] { return (found = slurp(path("out")).find(text) != std::string::npos) || !running(); },
         timeout);
    return found;
  }

  void signal(int number) { kill(pid_, number); }

  // Whether the tool ends within `timeout`.
  bool endsWithin(std::chrono::milliseconds timeout) {
    return poll([&] { return !running(); }, timeout);
  }

  // Waits for the tool to end; one still running after `timeout` is killed (SIGKILL shows).
  Outcome finish(std::chrono::seconds timeout) {
    if (!endsWithin(timeout)) {
      kill(pid_, SIGKILL);
      waitpid(pid_, &status_, 0);
      ended_ = true;
    }
    return {status_, slurp(path("out")), slurp(path("err"))};
  }

 private:
  std::string path(const std::string& name) const { return folder_ + "/" + name; }

  // Whether `done` came true, asked every 10 ms until `timeout` passes.
  template <typename Done>
  static bool poll(Done done, std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
      if (std::chrono::steady_clock::now() >= deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }

  bool running() {
    if (ended_ || pid_ <= 0) return false;
    ended_ = waitpid(pid_, &status_, WNOHANG) == pid_;
    return !ended_;
  }

  std::string folder_;
  pid_t pid_ = -1;
  int status_ = 0;
  bool ended_ = false;
};

}  // namespace tonvik::testing
