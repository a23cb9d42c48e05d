// What a listing costs: getFilesAndFileSizeInDirectory beside the bare calls of the C library with the names collected,
// and beside two programs that do the same for a whole process.
#include "Scratch.h"
#include "SideBySide.h"

#include <FileUtil.h>

#include <array>
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int bytesPerFile = 3;

std::string makeFiles(const ScratchFolder_c& folder, int count) {
  const std::string directory = folder.path() + '/' + std::to_string(count) + '/';
  if (!std::filesystem::create_directory(directory)) {
    return directory;
  }
  for (int index = 0; index < count; ++index) {
    std::ofstream(directory + "TASKDATA_" + std::to_string(1000000 + index) + ".XML") << std::string(bytesPerFile, 'x');
  }
  return directory;
}

struct Listing_s {
  std::vector<std::string> names;
  int64_t total = 0;
};

// The peer. Less than this cannot be done for the names and the sizes.
bool listBare(const char* directory, Listing_s& result) {
  DIR* stream = opendir(directory);
  if (stream == nullptr) {
    return false;
  }
  bool isWhole = true;
  while (const dirent* entry = readdir(stream)) {
    struct stat status; // NOLINT: filled by the next call
    if (fstatat(dirfd(stream), entry->d_name, &status, 0) != 0) {
      isWhole = false;
      break;
    }
    if ((status.st_mode & S_IFDIR) == 0) {
      result.names.emplace_back(entry->d_name);
      result.total += status.st_size;
    }
  }
  closedir(stream);
  return isWhole;
}

// One listing; what it has found is let go outside the time.
double timeOfOurs(clockid_t clock, const std::string& directory, int count) {
  FileOperations_c result;
  bool bAbort = false;
  const double time = SideBySide::timeBy(
      clock, 1, [&] { FileUtil::getFilesAndFileSizeInDirectory(directory.c_str(), result, bAbort); });
  const bool isWhole = result.m_TotalSize == int64_t{count} * bytesPerFile &&
                       result.m_FileNames.size() == static_cast<std::size_t>(count);
  return isWhole ? time : throw std::runtime_error("the library's listing is not whole");
}

double timeOfBare(const std::string& directory, int count) {
  Listing_s result;
  const double time = SideBySide::timeOf(1, [&] { listBare(directory.c_str(), result); });
  const bool isWhole =
      result.total == int64_t{count} * bytesPerFile && result.names.size() == static_cast<std::size_t>(count);
  return isWhole ? time : throw std::runtime_error("the bare listing is not whole");
}

void besideBareCalls(benchmark::State& state, const ScratchFolder_c& folder) {
  const auto count = static_cast<int>(state.range(0));
  const std::string directory = makeFiles(folder, count);
  SideBySide::compareTimes(
      state, 1, [&] { return timeOfOurs(CLOCK_THREAD_CPUTIME_ID, directory, count); },
      [&] { return timeOfBare(directory, count); });
  state.SetLabel(SideBySide::mediumOf(directory));
}
BENCHMARK_CAPTURE(besideBareCalls, memory, ScratchFolder_c::inMemory())->Arg(1000)->UseManualTime();
BENCHMARK_CAPTURE(besideBareCalls, memory, ScratchFolder_c::inMemory())->Arg(100000)->Iterations(7)->UseManualTime();
BENCHMARK_CAPTURE(besideBareCalls, disk, ScratchFolder_c::onDisk())->Arg(1000)->UseManualTime();
BENCHMARK_CAPTURE(besideBareCalls, disk, ScratchFolder_c::onDisk())->Arg(100000)->Iterations(7)->UseManualTime();

using Command_t = std::vector<std::string>;

Command_t findCommand(const std::string& directory) {
  return {"find", directory, "-printf", "%s\n"};
}

Command_t lsCommand(const std::string& directory) {
  return {"ls", "-l", directory};
}

// From the start of the program to its end. What it says goes to /dev/null; the plain locale is its fastest.
void runToItsEnd(Command_t command) {
  std::vector<char*> arguments;
  for (std::string& word : command) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  std::string path = "PATH=/usr/bin:/bin";
  std::string locale = "LC_ALL=C";
  std::array<char*, 3> environment = {path.data(), locale.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  int status = 1;
  if (posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environment.data()) == 0) {
    waitpid(child, &status, 0);
  }
  posix_spawn_file_actions_destroy(&actions);
  if (status != 0) {
    throw std::runtime_error(command[0] + " failed");
  }
}

void besideProcess(benchmark::State& state, Command_t (*command)(const std::string& directory)) {
  const auto count = static_cast<int>(state.range(0));
  const std::string directory = makeFiles(ScratchFolder_c::onDisk(), count);
  SideBySide::compareTimes(
      state, 1, [&] { return timeOfOurs(CLOCK_MONOTONIC, directory, count); },
      [&] { return SideBySide::wallTimeOf(1, [&] { runToItsEnd(command(directory)); }); });
  state.SetLabel(SideBySide::mediumOf(directory));
}
BENCHMARK_CAPTURE(besideProcess, find, findCommand)->Arg(1000)->UseManualTime();
BENCHMARK_CAPTURE(besideProcess, find, findCommand)->Arg(100000)->Iterations(5)->UseManualTime();
BENCHMARK_CAPTURE(besideProcess, ls, lsCommand)->Arg(1000)->UseManualTime();
BENCHMARK_CAPTURE(besideProcess, ls, lsCommand)->Arg(100000)->Iterations(5)->UseManualTime();

} // namespace
