// What it costs to load the library, beside one with the same dependencies and no code of its own: each time in a
// process of its own, which loads the dependencies as well. And what the library takes: its size as installed, its
// relocations, and the memory that only this process has.
#include "SideBySide.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

struct Loading_s {
  double tookNs = 0;
  double privateDirtyKib = 0;
  double relocations = 0;
};

Loading_s load(const std::string& library) {
  const std::string command = std::string(ZEMO_LOADER) + " " + library;
  FILE* output = popen(command.c_str(), "r");
  Loading_s loading;
  const int read = output == nullptr ? 0
                                     : std::fscanf(output, "%lf %lf %lf", &loading.tookNs, &loading.privateDirtyKib,
                                                   &loading.relocations);
  if (output == nullptr || pclose(output) != 0 || read != 3) {
    throw std::runtime_error("could not be loaded: " + library);
  }
  return loading;
}

// A file that was written a moment ago has pages that are dirty without anybody's doing.
void writeOut(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0 || fsync(file) != 0 || close(file) != 0) {
    throw std::runtime_error(std::string("could not be written out: ") + path);
  }
}

void loadLibrary(benchmark::State& state) {
  writeOut(ZEMO_STRIPPED_LIBRARY);
  const auto timeOf = [](const char* library) { return load(library).tookNs; };
  SideBySide::compareTimes(
      state, 1, [&] { return timeOf(ZEMO_STRIPPED_LIBRARY); }, [&] { return timeOf(ZEMO_LIBRARY_WITHOUT_CODE); });
  const Loading_s loading = load(ZEMO_STRIPPED_LIBRARY);
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(ZEMO_STRIPPED_LIBRARY));
  state.counters["private_dirty_kib"] = loading.privateDirtyKib;
  state.counters["relocations"] = loading.relocations;
}
BENCHMARK(loadLibrary)->UseManualTime()->Iterations(401);

} // namespace
