#include "SignalHandling.h"

#include "ConsoleLine.h"
#include "DebugLog.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>

namespace {

constexpr unsigned int maxFrames = 63;

void (*g_funcSignalHandler)(int) = nullptr;

struct SignalName_s {
  int number;
  char name[8];
};

// Short on purpose: every other signal is unknown, also where it can be handled.
constexpr SignalName_s signalNames[] = {
    {SIGHUP, "SIGHUP"},   {SIGINT, "SIGINT"},   {SIGQUIT, "SIGQUIT"}, {SIGFPE, "SIGFPE"},   {SIGKILL, "SIGKILL"},
    {SIGSEGV, "SIGSEGV"}, {SIGTERM, "SIGTERM"}, {SIGCHLD, "SIGCHLD"}, {SIGSTOP, "SIGSTOP"},
};

const char* GetSignalName(int sig) {
  for (const SignalName_s& entry : signalNames) {
    if (entry.number == sig) {
      return entry.name;
    }
  }
  return "UNKNOWN SIGNAL";
}

// Plain C, as standard output may have been told to write numbers otherwise.
std::array<char, 12> decimal(int number) {
  std::array<char, 12> text; // NOLINT: filled by the next call
  std::snprintf(text.data(), text.size(), "%d", number);
  return text;
}

// Announces and hands over, nothing more: to end the process is the application's task. On purpose.
void ZemoInternalSignalHandler(int sig) {
  printLine({"ZemoInternalSignalHandler signal ", decimal(sig).data(), " ", GetSignalName(sig)});
  if (g_funcSignalHandler != nullptr) {
    g_funcSignalHandler(sig);
  }
}

} // namespace

void AddSignalToHandle(int sig) {
  if (std::signal(sig, ZemoInternalSignalHandler) != SIG_ERR) {
    return;
  }
  const int error = errno;
  printLine({"FAILED to add signal handler for signal ", decimal(sig).data(), " ", GetSignalName(sig), " ERROR ",
             decimal(error).data()});
}

void AddAllTerminationSignals() {
  static constexpr int signals[] = {SIGINT, SIGHUP, SIGFPE, SIGSEGV, SIGQUIT, SIGTERM};
  for (const int sig : signals) {
    AddSignalToHandle(sig);
  }
}

void SetSignalHandler(void (*handler)(int)) {
  g_funcSignalHandler = handler;
}

void PrintBackTrace(bool toLogFile) {
  if (!toLogFile) {
    print_stacktrace(stderr, maxFrames);
    return;
  }
  // Without a file the printer is handed no stream, and standard error stays silent. On purpose.
  FILE* log = std::fopen(g_LogFileName.c_str(), "a+");
  print_stacktrace(log, maxFrames);
  if (log != nullptr) {
    std::fclose(log);
  }
}
