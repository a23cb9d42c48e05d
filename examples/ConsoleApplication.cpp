#include "ConsoleApplication.h"

#include <SwIdentification.h>

namespace {

// How the two control functions present themselves: NAME fields and preferred addresses.
constexpr unsigned char deviceClass = 0;
constexpr unsigned char deviceClassInstance = 0;
constexpr unsigned char displayFunction = 128; // a display in the cab that is no virtual terminal
constexpr unsigned char ecuInstance = 0;
constexpr unsigned char isobus = 0;
constexpr bool isSelfConfigurable = true;
constexpr unsigned char firstAddress = 128;
constexpr unsigned char secondAddress = 129;

const char* mapsVersion() {
  return "Maps-2.4";
}

} // namespace

bool ConsoleApplication_c::open(__IsoAgLib::ZemoAppType_e kind, bool useProprietaryBus) {
  // Before init: the stack asks for the path when it comes up.
  __IsoAgLib::ZemoApp::setIsoAgLibEepromFile("/tmp/console-application/eeprom.dat");

  const std::vector<const char* (*)()> libraries = {getUtilsVersion, mapsVersion};
  m_softwareText = __IsoAgLib::formatAppSwIdentification("FieldView-1.2.0", &libraries);

  if (!m_app.init(kind, m_softwareText, firstAddress, deviceClass, deviceClassInstance, displayFunction, 0, ecuInstance,
                  isobus, isSelfConfigurable, useProprietaryBus)) {
    return false;
  }
  m_app.addIdentity(m_softwareText, secondAddress, deviceClass, deviceClassInstance, displayFunction, 1, ecuInstance,
                    isobus, isSelfConfigurable);
  m_app.initTractorFunctions();
  m_app.initTaskControllerFunctions();
  return true;
}

void ConsoleApplication_c::close() {
  m_app.close();
}

bool ConsoleApplication_c::hasClaimed() {
  for (unsigned int index = 0; index < controlFunctions; ++index) {
    if (!m_app.getMyIdent(index)->isClaimedAddress()) {
      return false;
    }
  }
  return true;
}
