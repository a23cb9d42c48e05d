#include "../stack/HostState.h"
#include "Journal.h"

using namespace IsoBusHost;

namespace __IsoAgLib {

// Answered by libzemoUtils; a program without it (the tools) has no answer.
int getConnectAllowedVtServerType() __attribute__((weak));

void VtClient_c::init() {
  switchService("VtClient_c", instance(), true);
  if (getConnectAllowedVtServerType != nullptr) {
    Journal::add("-> getConnectAllowedVtServerType() = " + std::to_string(getConnectAllowedVtServerType()));
  }
}

void VtClient_c::close() {
  switchService("VtClient_c", instance(), false);
}

VtClient_c& getVtClientInstance(unsigned char instance) {
  return instanceOf<VtClient_c>(instance);
}

} // namespace __IsoAgLib
