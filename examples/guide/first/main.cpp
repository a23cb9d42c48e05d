#include <SwIdentification.h>
#include <ZemoApp.h>

#include <csignal>
#include <cstdio>

namespace {

volatile std::sig_atomic_t s_stop = 0;

void stop(int /*signal*/) {
  s_stop = 1;
}

} // namespace

int main() {
  std::signal(SIGINT, stop);
  std::signal(SIGTERM, stop);

  std::string software = __IsoAgLib::formatAppSwIdentification("First-1.0", nullptr);
  __IsoAgLib::ZemoApp app;
  if (!app.init(__IsoAgLib::ZemoAppPlain, software,
                128,      // the address that it would like to have
                0, 0, 29, // device class and its instance, function: not specific to a machine
                0, 0,     // instances of function and ECU
                0,        // on the ISOBUS
                true,     // another address is welcome where 128 is taken
                false)) { // the second bus is the chassis, not a proprietary one
    return 1;             // the library has said which bus does not open
  }

  __IsoAgLib::Scheduler_c& scheduler = __IsoAgLib::getSchedulerInstance();
  bool isAnnounced = false;
  while (s_stop == 0) {
    const int dueMs = scheduler.runDueWork();
    if (!isAnnounced && app.getMyIdent(0)->isClaimedAddress()) {
      isAnnounced = true;
      std::printf("On the bus at address %u\n", app.getMyIdent(0)->nr());
      std::fflush(stdout);
    }
    scheduler.waitForWork(dueMs);
  }
  app.close();
  std::printf("Closed\n");
}
