// The console application as a program of its own: joins a bus, runs until it is told to stop, and goes down in order.
#include "ApplicationDesk.h"
#include "ConsoleApplication.h"

#include "Host.h"
#include "HostClock.h"
#include "desk/DeskOptions.h"

#include <algorithm>
#include <csignal>
#include <cstdio>

using namespace IsoBusHost;

namespace {

const DeskProgram_s program = {"zemo-console-app", "a console application on an ISOBUS", true};

volatile std::sig_atomic_t s_stopRequested = 0;

void requestStop(int /*signal*/) {
  s_stopRequested = 1;
}

int fail(const std::string& why) {
  std::fprintf(stderr, "%s: %s\n", program.name, why.c_str());
  return 1;
}

bool areBusesOpen() {
  for (unsigned int instance = 0; instance < 3; ++instance) {
    if (Host::port(instance) != nullptr && !Host::port(instance)->transport().isOpen()) {
      return false;
    }
  }
  return true;
}

void announce(ConsoleApplication_c& application) {
  std::printf("On the bus at addresses %u and %u\n", application.frame().getMyIdent(0)->nr(),
              application.frame().getMyIdent(1)->nr());
  std::fflush(stdout);
}

// Runs the stack until a signal, the end of the time, or the loss of a bus. Gives what went wrong, empty for nothing.
std::string run(ConsoleApplication_c& application, int seconds) {
  __IsoAgLib::Scheduler_c& scheduler = __IsoAgLib::getSchedulerInstance();
  const uint64_t endMs = seconds == 0 ? never : HostClock::nowMs() + static_cast<uint64_t>(seconds) * 1000;
  bool isAnnounced = false;
  while (s_stopRequested == 0 && HostClock::nowMs() < endMs) {
    const int dueMs = scheduler.runDueWork();
    if (!areBusesOpen()) {
      return Host::lastError();
    }
    if (!isAnnounced && application.hasClaimed()) {
      isAnnounced = true;
      announce(application);
    }
    scheduler.waitForWork(dueMs);
  }
  return isAnnounced ? "" : "stopped before both control functions had an address";
}

} // namespace

int main(int argc, char** argv) {
  DeskOptions_s options;
  if (const auto exitStatus = parseDeskOptions(argc, argv, program, options)) {
    return *exitStatus;
  }
  DeskCapture_c capture;
  std::string error = prepareApplicationDesk(options, capture);
  if (!error.empty()) {
    return fail(error);
  }
  std::signal(SIGINT, requestStop);
  std::signal(SIGTERM, requestStop);

  ConsoleApplication_c application;
  if (!application.open(static_cast<__IsoAgLib::ZemoAppType_e>(options.applicationKind), options.useProprietaryBus)) {
    return fail(Host::lastError());
  }
  error = run(application, options.seconds);
  application.close();
  std::printf("Closed\n");
  const std::string captureError = capture.close();
  if (error.empty()) {
    error = captureError;
  }
  return error.empty() ? 0 : fail(error);
}
