#include "ApplicationDesk.h"

#include "ConsoleHost.h"
#include "Host.h"

#include <cstdio>

using namespace IsoBusHost;

std::string prepareApplicationDesk(const DeskOptions_s& options, DeskCapture_c& capture) {
  std::string error = capture.open(options);
  if (error.empty() && !options.valuesFile.empty()) {
    error = ConsoleHost::loadFile(options.valuesFile);
    const std::string missing = ConsoleHost::missingKeys();
    std::fputs(missing.empty() ? "" : (missing + "\n").c_str(), stderr);
  }
  Host::setBus(0, options.can0);
  Host::setBus(1, options.can1);
  Host::observe([&capture](const std::string& bus, const CanFrame_s& frame, Direction_e, uint64_t wallClockUs) {
    capture.write(bus, frame, wallClockUs);
  });
  return error;
}
