#include "Spreader.h"

#include <SwIdentification.h>
#include <ZemoApp.h>

#include <csignal>

namespace {

volatile std::sig_atomic_t s_stop = 0;

void stop(int /*signal*/) {
  s_stop = 1;
}

} // namespace

int main() {
  std::signal(SIGINT, stop);
  std::signal(SIGTERM, stop);

  Spreader_c spreader;
  std::string software = __IsoAgLib::formatAppSwIdentification("Spreader-1.0", nullptr);
  __IsoAgLib::ZemoApp app;
  if (!app.init(__IsoAgLib::ZemoAppVtClient, software, 128, 5, 0, 132, 0, 0, 0, true, false)) {
    return 1;
  }
  __IsoAgLib::getVtClientInstance(0).initAndRegisterObjectPool(*app.getMyIdent(0), spreader, nullptr,
                                                               app.getDataStorage(0));

  __IsoAgLib::Scheduler_c& scheduler = __IsoAgLib::getSchedulerInstance();
  while (s_stop == 0) {
    scheduler.waitForWork(scheduler.runDueWork());
  }
  app.close();
}
