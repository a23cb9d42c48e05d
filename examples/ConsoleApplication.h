// A small but complete console application: two control functions, VT client, tractor and task-controller groups.
#pragma once

#include <ZemoApp.h>

#include <string>

class ConsoleApplication_c {
public:
  // open: brings everything up.
  //
  //   Gives    false when a bus does not open; the library has said which one on standard output
  bool open(__IsoAgLib::ZemoAppType_e kind, bool useProprietaryBus);
  void close();

  // hasClaimed: whether both control functions own an address.
  bool hasClaimed();

  static constexpr unsigned int controlFunctions = 2;
  __IsoAgLib::ZemoApp& frame() { return m_app; }
  const std::string& softwareText() const { return m_softwareText; }

private:
  __IsoAgLib::ZemoApp m_app;
  std::string m_softwareText;
};
