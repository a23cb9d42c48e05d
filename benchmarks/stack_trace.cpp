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

void besidePlainC(benchmark::State& state, int buffering) {
  const Nowhere_c ours(buffering);
  const Nowhere_c peer(buffering);
  auto work = [&] {
    SideBySide::compare(
        state, 1,
        [&] {
          print_stacktrace(ours.stream(), maxFrames);
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
  const Nowhere_c ours(_IOFBF);
  std::ofstream peer("/dev/null");
  auto work = [&] {
    SideBySide::compare(
        state, 1,
        [&] {
          print_stacktrace(ours.stream(), maxFrames);
          std::fflush(ours.stream());
        },
        [&] { printWithBoost(peer); });
  };
  onDeepStack(work);
}
BENCHMARK(besideBoost)->UseManualTime();

} // namespace
