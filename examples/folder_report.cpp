// The services that need no bus: lists a folder on a thread of its own and writes what it finds to a debug log, with
// the free memory and the room on the medium. A signal ends the listing; a fault leaves its stack trace in the log.
#include <DebugLog.h>
#include <FileUtil.h>
#include <SignalHandling.h>
#include <SystemUtils.h>
#include <Thread_c.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <semaphore.h>
#include <unistd.h>

namespace {

constexpr const char* usage = "usage: zemo-folder-report FOLDER LOGFILE";

struct Listing_s {
  std::string folder; // with "/" at its end
  FileOperations_c files;
  bool bAbort = false;
  bool bCompleted = false;
  sem_t end = {};
};

Listing_s s_listing;

// Runs on the worker thread.
void* listFolder(void* argument) {
  auto* listing = static_cast<Listing_s*>(argument);
  listing->bCompleted =
      FileUtil::getFilesAndFileSizeInDirectory(listing->folder.c_str(), listing->files, listing->bAbort);
  sem_post(&listing->end);
  return nullptr;
}

// The library has announced the signal; to end the process is the application's task.
void handleSignal(int sig) {
  if (sig == SIGSEGV || sig == SIGFPE) {
    PrintBackTrace(true);
    _exit(128 + sig);
  }
  s_listing.bAbort = true;
}

void logMachine(const std::string& folder) {
  log_msg("%s%.1f of %.1f MB memory free\n", GetDateTimeStamp().c_str(),
          static_cast<double>(SystemUtils::getSystemMemoryFreeMB()),
          static_cast<double>(SystemUtils::getSystemMemoryTotalMB()));
  log_msg("%s%d percent of the medium free\n", GetDateTimeStamp().c_str(),
          FileUtil::getFreeDiskSpacePercent(folder.c_str()));
}

int logListing(const Listing_s& listing) {
  if (!listing.bCompleted) {
    log_msg("%sthe folder was not listed to its end\n", GetDateTimeStamp().c_str());
    return EXIT_FAILURE;
  }
  log_msg("%s%zu files, %lld bytes\n", GetDateTimeStamp().c_str(), listing.files.m_FileNames.size(),
          static_cast<long long>(listing.files.m_TotalSize));
  return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::printf("%s\nAppends to LOGFILE what there is in FOLDER, on its medium and in memory.\n", usage);
    return EXIT_SUCCESS;
  }
  if (argc != 3) {
    std::fprintf(stderr, "%s\n", usage);
    return 2;
  }
  set_log_filename(argv[2]);
  log_check_size();
  SetSignalHandler(handleSignal);
  AddAllTerminationSignals();

  s_listing.folder = std::string(argv[1]) + "/";
  logMachine(s_listing.folder);
  sem_init(&s_listing.end, 0, 0);
  Thread_c worker;
  worker.start(listFolder, &s_listing);
  while (sem_wait(&s_listing.end) != 0) {
    // a signal has come in between
  }
  return logListing(s_listing);
}
