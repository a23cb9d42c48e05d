#include "SignalHandling.h"

#include "DebugLog.h"

#include <cerrno>
#include <csignal>
#include <iostream>
#include <string>

namespace {

constexpr unsigned int maxFrames = 63;

void (*g_funcSignalHandler)(int) = nullptr;

// Short on purpose: every other signal is unknown, also where it can be handled.
const char* GetSignalName(int sig) {
  switch (sig) {
  case SIGHUP:
    return "SIGHUP";
  case SIGINT:
    return "SIGINT";
  case SIGQUIT:
    return "SIGQUIT";
  case SIGFPE:
    return "SIGFPE";
  case SIGKILL:
    return "SIGKILL";
  case SIGSEGV:
    return "SIGSEGV";
  case SIGTERM:
    return "SIGTERM";
  case SIGCHLD:
    return "SIGCHLD";
  case SIGSTOP:
    return "SIGSTOP";
  default:
    return "UNKNOWN SIGNAL";
  }
}

// Announces and hands over, nothing more: to end the process is the application's task. On purpose.
void ZemoInternalSignalHandler(int sig) {
  std::cout << "ZemoInternalSignalHandler signal " << std::to_string(sig) << ' ' << GetSignalName(sig) << std::endl;
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
  std::cout << "FAILED to add signal handler for signal " << std::to_string(sig) << ' ' << GetSignalName(sig)
            << " ERROR " << std::to_string(error) << std::endl;
}

void AddAllTerminationSignals() {
  for (const int sig : {SIGINT, SIGHUP, SIGFPE, SIGSEGV, SIGQUIT, SIGTERM}) {
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
