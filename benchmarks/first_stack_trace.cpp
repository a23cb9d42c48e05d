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

// What the work gives in a child process of its own.
template <class Work>
double inChild(Work&& work) {
  int ends[2] = {};
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe to the child");
  }
  const pid_t child = fork();
  if (child == 0) {
    const double value = work();
    _exit(write(ends[1], &value, sizeof value) == sizeof value ? 0 : 1);
  }
  close(ends[1]);
  double value = 0;
  const bool isTold = read(ends[0], &value, sizeof value) == sizeof value;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return isTold ? value : throw std::runtime_error("the child said nothing");
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

double timeOfOurs() {
  return inChild([] { return timeOfPrint(printOurs); });
}

void besidePlainC(benchmark::State& state) {
  SideBySide::compareTimes(state, 1, timeOfOurs, [] { return inChild([] { return timeOfPrint(printPeer); }); });
}
BENCHMARK(besidePlainC)->UseManualTime();

void besideBoost(benchmark::State& state) {
  const double skip =
      inChild([] { return skipForBoost(templatesInTrace([](FILE* out) { print_stacktrace(out, maxFrames); })); });
  if (skip < 0) {
    state.SkipWithError("Boost prints other frames");
    return;
  }
  const auto print = [skip] { printWithBoost(s_streams.boost, static_cast<std::size_t>(skip)); };
  SideBySide::compareTimes(state, 1, timeOfOurs, [&] { return inChild([&] { return timeOfPrint(print); }); });
}
BENCHMARK(besideBoost)->UseManualTime();

} // namespace
