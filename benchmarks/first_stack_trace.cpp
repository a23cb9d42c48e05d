// What the first stack trace of a process costs: a child process for each, which prints one trace and tells its time.
// The parent never prints any, so that nothing of it is ready in the child.
#include "SideBySide.h"
#include "StackTracePeers.h"

#include <DebugLog.h>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

using namespace StackTracePeers;

namespace {

template <class Print>
double timeOfPrint(Print&& print) {
  double time = 0;
  auto work = [&] { time = SideBySide::timeOf(1, print); };
  onDeepStack(work);
  return time;
}

template <class Print>
double timeInChild(Print&& print) {
  int ends[2] = {};
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe to the child");
  }
  const pid_t child = fork();
  if (child == 0) {
    const double time = timeOfPrint(print);
    _exit(write(ends[1], &time, sizeof time) == sizeof time ? 0 : 1);
  }
  close(ends[1]);
  double time = 0;
  const bool isTold = read(ends[0], &time, sizeof time) == sizeof time;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return isTold ? time : throw std::runtime_error("the child told no time");
}

struct Streams_s {
  FILE* plain = std::fopen("/dev/null", "a+");
  std::ofstream boost{"/dev/null"};
};

Streams_s s_streams;

void printOurs() {
  print_stacktrace(s_streams.plain, maxFrames);
  std::fflush(s_streams.plain);
}

void printPeer() {
  printPlainly(s_streams.plain);
  std::fflush(s_streams.plain);
}

void besidePlainC(benchmark::State& state) {
  SideBySide::compareTimes(
      state, 1, [] { return timeInChild(printOurs); }, [] { return timeInChild(printPeer); });
}
BENCHMARK(besidePlainC)->UseManualTime();

void besideBoost(benchmark::State& state) {
  SideBySide::compareTimes(
      state, 1, [] { return timeInChild(printOurs); },
      [] { return timeInChild([] { printWithBoost(s_streams.boost); }); });
}
BENCHMARK(besideBoost)->UseManualTime();

} // namespace
