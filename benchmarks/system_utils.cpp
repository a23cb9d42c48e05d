// The clock and the memory figures beside what the kernel alone costs.
#include "SideBySide.h"

#include <SystemUtils.h>

#include <array>
#include <benchmark/benchmark.h>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int queriesPerBatch = 10;
constexpr int readingsPerBatch = 10000;

// The peer: the whole table in one read, not looked at.
bool readMemoryTable() {
  std::array<char, 4096> text; // NOLINT: filled by the next calls
  const int table = open("/proc/meminfo", O_RDONLY | O_CLOEXEC);
  const bool hasText = read(table, text.data(), text.size()) > 0;
  benchmark::DoNotOptimize(text);
  close(table);
  return hasText;
}

void freeMemory(benchmark::State& state) {
  bool hasText = true;
  SideBySide::compare(
      state, queriesPerBatch, [] { benchmark::DoNotOptimize(SystemUtils::getSystemMemoryFreeMB()); },
      [&] { hasText = readMemoryTable() && hasText; });
  if (!hasText) {
    state.SkipWithError("/proc/meminfo cannot be read");
  }
}
BENCHMARK(freeMemory)->UseManualTime();

void readClock() {
  timespec reading = {};
  clock_gettime(CLOCK_MONOTONIC, &reading);
  benchmark::DoNotOptimize(reading);
}

void timeBesideTwoReadings(benchmark::State& state) {
  SideBySide::compare(
      state, readingsPerBatch, [] { benchmark::DoNotOptimize(SystemUtils::getTimeMs()); },
      [] {
        readClock();
        readClock();
      });
}
BENCHMARK(timeBesideTwoReadings)->UseManualTime();

// All but the first call take one reading.
void timeBesideOneReading(benchmark::State& state) {
  SideBySide::compare(
      state, readingsPerBatch, [] { benchmark::DoNotOptimize(SystemUtils::getTimeMs()); }, [] { readClock(); });
}
BENCHMARK(timeBesideOneReading)->UseManualTime();

} // namespace
