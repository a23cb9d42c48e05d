// The library at work as a program of its own, for what a test does to it from outside: signals, a power cut, a medium
// that goes away.
#include "DebugLog.h"
#include "FileUtil.h"
#include "RealTimeClockApi.h"
#include "SignalHandling.h"
#include "SystemUtils.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

using Arguments_t = std::vector<std::string>;

namespace {

constexpr int usageError = 2;

long numberOf(const Arguments_t& arguments, std::size_t index) {
  return std::strtol(arguments.at(index).c_str(), nullptr, 10);
}

int intOf(const Arguments_t& arguments, std::size_t index) {
  return static_cast<int>(numberOf(arguments, index));
}

void say(const char* text) {
  std::puts(text);
  std::fflush(stdout);
}

volatile std::sig_atomic_t s_isDone = 0;

void beDone(int /*sig*/) {
  s_isDone = 1;
}

} // namespace

// What an application does with a signal. Not hidden, so that a stack trace names them.
void endByTheSignal(int sig);
void endWithStatus(int sig);
void traceToLog(int sig);
void waitForSignals();

void endByTheSignal(int sig) {
  PrintBackTrace(false);
  std::signal(sig, SIG_DFL);
  raise(sig);
}

void endWithStatus(int sig) {
  PrintBackTrace(false);
  _exit(40 + sig);
}

void traceToLog(int /*sig*/) {
  PrintBackTrace(true);
}

// waitForSignals: until a user-defined one comes that the library does not handle.
void waitForSignals() {
  std::signal(SIGUSR1, beDone);
  say("ready");
  while (s_isDone == 0) {
    pause();
  }
  say("done");
}

namespace {

int handleSignals(const Arguments_t& arguments) {
  const std::map<std::string, void (*)(int)> handlers = {
      {"none", nullptr}, {"signal", endByTheSignal}, {"status", endWithStatus}, {"log", traceToLog}};
  SetSignalHandler(handlers.at(arguments.at(0)));
  AddAllTerminationSignals();
  waitForSignals();
  return 0;
}

// FIRST SYNCED: messages with numbers, without an end; "synced" is said when the given one and all before are on the
// disk.
int writeLog(const Arguments_t& arguments) {
  const long synced = numberOf(arguments, 1);
  for (long number = numberOf(arguments, 0);; ++number) {
    log_msg("message %08ld of the log\n", number);
    if (number == synced) {
      sync();
      say("synced");
    }
  }
}

int writeMessage(const Arguments_t& arguments) {
  log_msg("%s\n", arguments.at(0).c_str());
  return 0;
}

int checkLog(const Arguments_t& /*arguments*/) {
  log_check_size();
  return 0;
}

int readClock(const Arguments_t& arguments) {
  std::printf("%ld\n", RealTimeClockApi::read_rtc(intOf(arguments, 0)));
  return 0;
}

int writeClock(const Arguments_t& arguments) {
  RealTimeClockApi::write_rtc(numberOf(arguments, 0), intOf(arguments, 1));
  return 0;
}

int clockToSystem(const Arguments_t& arguments) {
  return RealTimeClockApi::to_sys_clock(intOf(arguments, 0));
}

int clockFromSystem(const Arguments_t& arguments) {
  return RealTimeClockApi::from_sys_clock(intOf(arguments, 0));
}

int setClock(const Arguments_t& arguments) {
  RealTimeClockApi::setRtcTime(intOf(arguments, 0), intOf(arguments, 1), intOf(arguments, 2), intOf(arguments, 3),
                               intOf(arguments, 4), intOf(arguments, 5));
  return 0;
}

int tellMemory(const Arguments_t& /*arguments*/) {
  std::printf("%.6f %.6f %d\n", static_cast<double>(SystemUtils::getSystemMemoryFreeMB()),
              static_cast<double>(SystemUtils::getSystemMemoryTotalMB()),
              SystemUtils::isSystemFreeMemoryBelowMinimum() ? 1 : 0);
  return 0;
}

int listFiles(const Arguments_t& arguments) {
  FileOperations_c files;
  bool bAbort = false;
  const bool isComplete = FileUtil::getFilesAndFileSizeInDirectory(arguments.at(0).c_str(), files, bAbort);
  for (const std::string& name : files.m_FileNames) {
    std::printf("%s\n", name.c_str());
  }
  std::printf("%s %lld\n", isComplete ? "complete" : "failed", static_cast<long long>(files.m_TotalSize));
  return 0;
}

int listSubDirectories(const Arguments_t& arguments) {
  std::vector<std::string> names;
  bool bAbort = false;
  const bool isComplete = FileUtil::getSubDirectories(arguments.at(0).c_str(), names, bAbort);
  std::printf("%s %zu\n", isComplete ? "complete" : "failed", names.size());
  return 0;
}

int unmount(const Arguments_t& arguments) {
  std::printf("%s\n", FileUtil::forceUnmount(arguments.at(0).c_str()) ? "run" : "not run");
  return 0;
}

int copyBatchFile(const Arguments_t& arguments) {
  std::string destination = arguments.at(0);
  FileUtil::copyPCBackupBatchFile(destination);
  return 0;
}

struct Verb_s {
  std::size_t arguments;
  std::function<int(const Arguments_t&)> run;
};

const std::map<std::string, Verb_s> verbs = {
    {"signals", {1, handleSignals}},
    {"log", {2, writeLog}},
    {"message", {1, writeMessage}},
    {"check-log", {0, checkLog}},
    {"read-clock", {1, readClock}},
    {"write-clock", {2, writeClock}},
    {"clock-to-system", {1, clockToSystem}},
    {"clock-from-system", {1, clockFromSystem}},
    {"set-clock", {6, setClock}},
    {"memory", {0, tellMemory}},
    {"files", {1, listFiles}},
    {"directories", {1, listSubDirectories}},
    {"unmount", {1, unmount}},
    {"copy-batch-file", {1, copyBatchFile}},
};

} // namespace

int main(int argc, char** argv) {
  const Arguments_t arguments(argv + 1, argv + argc);
  const auto verb = arguments.empty() ? verbs.end() : verbs.find(arguments.front());
  if (verb == verbs.end() || verb->second.arguments != arguments.size() - 1) {
    std::fprintf(stderr, "zemo_board_program: no such verb, or not with so many arguments\n");
    return usageError;
  }
  tzset(); // as an application has done that shows times: the library takes the zone as it finds it
  return verb->second.run({arguments.begin() + 1, arguments.end()});
}
