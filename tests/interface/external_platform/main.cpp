// Comes up and goes down on the second platform and prints what that platform was asked, in order.
#include <SwIdentification.h>
#include <ZemoApp.h>

#include <iostream>

std::string recordedCalls();

int main() {
  __IsoAgLib::ZemoApp application;
  std::string identification = __IsoAgLib::formatAppSwIdentification("App 1", nullptr);
  if (!application.init(__IsoAgLib::ZemoAppPlain, identification, 129, 7, 1, 29, 2, 3, 0, true, false)) {
    return 1;
  }
  recordCall("hardware revision " + std::to_string(GetHardwareRevision()));
  recordCall("vt version " + std::to_string(__IsoAgLib::ZemoApp::getVirtualTerminalVersion()));
  application.close();
  std::cout << recordedCalls();
  return 0;
}
