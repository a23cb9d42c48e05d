#include "EachCase.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {
constexpr std::size_t keptOutput = 32768;

struct Case_s {
  int seconds = 0;
  std::string name;
};

struct Outcome_s {
  std::string how;
  int value = 0;
  long milliseconds = 0;
};

std::vector<Case_s> casesOf(const std::string& path) {
  std::ifstream file(path);
  std::vector<Case_s> cases;
  Case_s one;
  while (file >> one.seconds >> one.name) {
    cases.push_back(one);
  }
  return cases;
}

// Unbuffered, so that a crash of the whole machine leaves what was said before.
bool append(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (file < 0) {
    return false;
  }
  const bool isWritten = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(file);
  return isWritten;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

[[noreturn]] void runCase(const std::string& name, const std::string& outputPath, const sigset_t& signals) {
  setpgid(0, 0);
  sigprocmask(SIG_SETMASK, &signals, nullptr);
  const int input = open("/dev/null", O_RDONLY);
  const int output = open(outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  close(input);
  close(output);
  testing::GTEST_FLAG(filter) = name;
  testing::GTEST_FLAG(also_run_disabled_tests) = true;
  std::exit(RUN_ALL_TESTS());
}

// SIGCHLD is blocked, so that none is missed between the look and the wait. False when the time is over.
bool awaitEnd(pid_t process, int seconds, int& status) {
  sigset_t childSignal;
  sigemptyset(&childSignal);
  sigaddset(&childSignal, SIGCHLD);
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (waitpid(process, &status, WNOHANG) == 0) {
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(limit - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      return false;
    }
    timespec rest = {};
    rest.tv_sec = static_cast<time_t>(left.count() / 1000000000);
    rest.tv_nsec = static_cast<long>(left.count() % 1000000000);
    sigtimedwait(&childSignal, nullptr, &rest);
  }
  return true;
}

Outcome_s outcomeOf(bool hasEnded, int status, const std::string& outputPath) {
  if (!hasEnded) {
    return {"late"};
  }
  if (WIFSIGNALED(status)) {
    return {"killed", WTERMSIG(status)};
  }
  if (WEXITSTATUS(status) != 0) {
    return {"exited", WEXITSTATUS(status)};
  }
  const std::string output = contentOf(outputPath);
  if (output.find("[  SKIPPED ]") != std::string::npos) {
    return {"skipped"};
  }
  // A case that is not in this program runs nothing and ends well.
  return output.find("[==========] 1 test from ") == std::string::npos ? Outcome_s{"exited", 127} : Outcome_s{"passed"};
}

Outcome_s outcomeOf(const Case_s& one, const std::string& outputPath, const sigset_t& signals) {
  const auto began = std::chrono::steady_clock::now();
  std::fflush(nullptr);
  const pid_t process = fork();
  if (process < 0) {
    return {"exited", errno};
  }
  if (process == 0) {
    runCase(one.name, outputPath, signals);
  }
  setpgid(process, process);
  int status = 0;
  const bool hasEnded = awaitEnd(process, one.seconds, status);
  // What it has started and left behind goes with it.
  kill(-process, SIGKILL);
  if (!hasEnded) {
    waitpid(process, &status, 0);
  }
  Outcome_s outcome = outcomeOf(hasEnded, status, outputPath);
  const auto took = std::chrono::steady_clock::now() - began;
  outcome.milliseconds = static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(took).count());
  return outcome;
}
} // namespace

bool TestSupport::runEachCase(const std::string& cases, const std::string& results) {
  sigset_t childSignal;
  sigset_t signals;
  sigemptyset(&childSignal);
  sigaddset(&childSignal, SIGCHLD);
  sigprocmask(SIG_BLOCK, &childSignal, &signals);

  const std::string outputPath = "/tmp/case-output-" + std::to_string(getpid());
  const std::vector<Case_s> all = casesOf(cases);
  int number = 0;
  for (const Case_s& one : all) {
    const std::string mark = std::to_string(++number);
    if (!append(results + "/results", "begin " + mark + "\n")) {
      return false;
    }
    const Outcome_s outcome = outcomeOf(one, outputPath, signals);
    if (outcome.how != "passed") {
      const std::string output = contentOf(outputPath);
      append(results + "/" + mark, output.size() > keptOutput ? output.substr(output.size() - keptOutput) : output);
    }
    append(results + "/results", "end " + mark + " " + outcome.how + " " + std::to_string(outcome.value) + " " +
                                     std::to_string(outcome.milliseconds) + "\n");
    unlink(outputPath.c_str());
  }
  return !all.empty();
}
