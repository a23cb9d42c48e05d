// The calls that the application frame makes, in blocks, as the journal writes them.
#pragma once

#include "JournalText.h"

namespace TestSupport {

inline Lines_t startOfStack() {
  return {
      "IdentItem_c::setUseWorkingSet(true)",
      "IsoItem_c::setUseWorkingSet(true)",
      "IsoMonitor_c::setUseWorkingSet(true)",
      "System_c::init()",
      "Scheduler_c::init(null)",
      "CanIo_c[0]::init(0, 250)",
  };
}

// The six protocol services of an instance, coming up and going down.
inline Lines_t servicesUp(const std::string& instance) {
  return {
      "IsoRequestPgn_c[" + instance + "]::init()",    "IsoMonitor_c[" + instance + "]::init()",
      "IsoFilterManager_c[" + instance + "]::init()", "ProprietaryMessageHandler_c[" + instance + "]::init()",
      "MultiReceive_c[" + instance + "]::init()",     "MultiSend_c[" + instance + "]::init()",
  };
}

inline Lines_t servicesDown(const std::string& instance) {
  return {
      "MultiSend_c[" + instance + "]::close()",
      "MultiReceive_c[" + instance + "]::close()",
      "ProprietaryMessageHandler_c[" + instance + "]::close()",
      "IsoFilterManager_c[" + instance + "]::close()",
      "IsoMonitor_c[" + instance + "]::close()",
      "IsoRequestPgn_c[" + instance + "]::close()",
  };
}

inline Lines_t openChassisBus() {
  return {"CanIo_c[1]::init(1, 250)"};
}

inline Lines_t openProprietaryBus() {
  return {"iProprietaryBus_c[0]::init(1, 250)", "CanIo_c[2]::init(1, 250)"};
}

inline Lines_t commonInitChassis() {
  return startOfStack() + openChassisBus() + servicesUp("0") + servicesUp("1");
}

inline Lines_t commonInitProprietary() {
  return startOfStack() + openProprietaryBus() + servicesUp("0");
}

inline Lines_t endOfStack() {
  return {"CanIo_c[0]::close()", "Scheduler_c::close()", "System_c::close()"};
}

inline Lines_t commonCloseChassis() {
  return servicesDown("0") + servicesDown("1") + Lines_t{"CanIo_c[1]::close()"} + endOfStack();
}

inline Lines_t commonCloseProprietary() {
  return servicesDown("0") + Lines_t{"iProprietaryBus_c[0]::close()", "CanIo_c[2]::close()"} + endOfStack();
}

// What closing the VT client group always does.
inline Lines_t workingSetsOnAgain() {
  return {"IsoItem_c::setUseWorkingSet(true)", "IdentItem_c::setUseWorkingSet(true)",
          "IsoMonitor_c::setUseWorkingSet(true)"};
}

inline Lines_t tractorUp(const std::string& instance) {
  return {
      "TracGeneral_c[" + instance + "]::init()",  "TracFacilities_c[" + instance + "]::init()",
      "TracMove_c[" + instance + "]::init()",     "TracPto_c[" + instance + "]::init()",
      "TracLight_c[" + instance + "]::init()",    "TracAux_c[" + instance + "]::init()",
      "TracGuidance_c[" + instance + "]::init()", "TracGuidanceCommand_c[" + instance + "]::init()",
      "TimePosGps_c[" + instance + "]::init()",
  };
}

// The calls of one identity of the test application (HostFixture's console) that comes up.
inline Lines_t identityUp(const std::string& ident, const std::string& name, const std::string& slaveCount,
                          const std::string& monitor, const std::string& swIdentification) {
  return {
      "DBusConnection_c::getString(8)",
      ident + ": created",
      ident + ": init(" + name + ", " + slaveCount + ", null, true)",
      "IsoMonitor_c[" + monitor + "]::registerIdentItem(" + ident + ")",
      "DBusConnection_c::getString(11)",
      "DBusConnection_c::getString(10)",
      "DBusConnection_c::getString(8)",
      ident + ": setEcuIdentification(\"4711.5\", \"ZC123456\", \"Armrest\", \"Console\", \"ZEMO\", \"000119\")",
      "DBusConnection_c::getSetProductVin(false)",
      "DBusConnection_c::getString(8)",
      "DBusConnection_c::getString(10)",
      ident + ": setProductIdentification(\"ZC123456\", \"Harlow-Mede\", \"R3700\")",
      "DBusConnection_c::getString(6)",
      "DBusConnection_c::getString(5)",
      ident + ": setSwIdentification(\"" + swIdentification + "*OS-3.1*B7*\")",
      "DBusConnection_c::getCertificationData()",
      ident + ": setCertificationData(2021, 5, 1, 66, 000000, 1234)",
  };
}

} // namespace TestSupport
