// What a stack trace costs once the process has printed one: print_stacktrace with 63 frames of nested templates beside
// the same steps in plain C, into the same kind of stream, and beside Boost.Stacktrace.
#include "SideBySide.h"
#include "StackTracePeers.h"

#include <DebugLog.h>

#include <benchmark/benchmark.h>
#include <fstream>

using namespace StackTracePeers;

namespace {

// A stream into nothing, buffered like the log file or not at all like standard error.
class Nowhere_c {
public:
  explicit Nowhere_c(int buffering) : m_stream(std::fopen("/dev/null", "a+")) {
    std::setvbuf(m_stream, nullptr, buffering, BUFSIZ);
  }
  ~Nowhere_c() { std::fclose(m_stream); }
  Nowhere_c(const Nowhere_c&) = delete;
  Nowhere_c& operator=(const Nowhere_c&) = delete;

  FILE* stream() const { return m_stream; }

private:
  FILE* m_stream;
};

constexpr int fewestTemplates = maxFrames - 3; // the frames of the measuring functions are no templates

void printOurs(FILE* out) {
  print_stacktrace(out, maxFrames);
}

void besidePlainC(benchmark::State& state, int buffering) {
  if (templatesInTrace(printOurs) < fewestTemplates || templatesInTrace(printPlainly) < fewestTemplates) {
    state.SkipWithError("the traces lack the templates");
    return;
  }
  const Nowhere_c ours(buffering);
  const Nowhere_c peer(buffering);
  auto work = [&] {
    SideBySide::compare(
        state, 1,
        [&] {
          printOurs(ours.stream());
          std::fflush(ours.stream());
        },
        [&] {
          printPlainly(peer.stream());
          std::fflush(peer.stream());
        });
  };
  onDeepStack(work);
}
BENCHMARK_CAPTURE(besidePlainC, buffered, _IOFBF)->UseManualTime();
BENCHMARK_CAPTURE(besidePlainC, unbuffered, _IONBF)->UseManualTime();

void besideBoost(benchmark::State& state) {
  const int skip = skipForBoost(templatesInTrace(printOurs));
  if (skip < 0) {
    state.SkipWithError("Boost prints other frames");
    return;
  }
  const Nowhere_c ours(_IOFBF);
  std::ofstream peer("/dev/null");
  auto work = [&] {
    SideBySide::compare(
        state, 1,
        [&] {
          printOurs(ours.stream());
          std::fflush(ours.stream());
        },
        [&] { printWithBoost(peer, static_cast<std::size_t>(skip)); });
  };
  onDeepStack(work);
}
BENCHMARK(besideBoost)->UseManualTime();

} // namespace
