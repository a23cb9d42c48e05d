// What a message costs: log_msg with the default handler beside the bare system calls, to which the finished text is
// given. Standard error goes to /dev/null for both.
#include "Scratch.h"
#include "SideBySide.h"

#include <DebugLog.h>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int messagesPerBatch = 100;

// Standard error of the process, away for as long as this lives.
class SilentErrors_c {
public:
  SilentErrors_c() : m_saved(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
  }
  ~SilentErrors_c() {
    dup2(m_saved, STDERR_FILENO);
    close(m_saved);
  }
  SilentErrors_c(const SilentErrors_c&) = delete;
  SilentErrors_c& operator=(const SilentErrors_c&) = delete;

private:
  int m_saved;
};

bool writeAll(int descriptor, const std::string& text) {
  return write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool writeBare(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  const bool isInFile = writeAll(file, text);
  close(file);
  return writeAll(STDERR_FILENO, text) && isInFile;
}

// A batch begins with an empty file, so that the files do not fill the medium.
template <class Work>
double timeOfBatch(const std::string& path, Work&& work) {
  static_cast<void>(!truncate(path.c_str(), 0));
  return SideBySide::timeOf(messagesPerBatch, work);
}

template <class Log>
void compareMessages(benchmark::State& state, const ScratchFolder_c& folder, const std::string& text, Log&& log) {
  const std::string ours = folder.path() + "/DebugLog.txt";
  const std::string peer = folder.path() + "/Bare.txt";
  set_log_filename(ours.c_str());
  {
    const SilentErrors_c silence;
    bool isWhole = true;
    SideBySide::compareTimes(
        state, messagesPerBatch, [&] { return timeOfBatch(ours, log); },
        [&] { return timeOfBatch(peer, [&] { isWhole = writeBare(peer, text) && isWhole; }); });
    if (!isWhole) {
      state.SkipWithError("the peer could not write");
    }
  }
  // The same bytes went the two ways.
  if (std::filesystem::file_size(ours) != std::filesystem::file_size(peer)) {
    state.SkipWithError("the two files differ");
  }
  state.SetLabel(SideBySide::mediumOf(folder.path()));
}

void messageWithValues(benchmark::State& state, const ScratchFolder_c& folder) {
  compareMessages(state, folder, "07-03-17-02:05:09:007 VtClient: object 4711 changed to 230, state 3\n", [] {
    log_msg("%s%s: object %d changed to %u, state %d\n", "07-03-17-02:05:09:007 ", "VtClient", 4711, 230U, 3);
  });
}
BENCHMARK_CAPTURE(messageWithValues, memory, ScratchFolder_c::inMemory())->UseManualTime();
BENCHMARK_CAPTURE(messageWithValues, disk, ScratchFolder_c::onDisk())->UseManualTime();

void messageOfText(benchmark::State& state, const ScratchFolder_c& folder) {
  compareMessages(state, folder, "The connection to the task controller is up again.\n",
                  [] { log_msg("The connection to the task controller is up again.\n"); });
}
BENCHMARK_CAPTURE(messageOfText, memory, ScratchFolder_c::inMemory())->UseManualTime();
BENCHMARK_CAPTURE(messageOfText, disk, ScratchFolder_c::onDisk())->UseManualTime();

} // namespace
