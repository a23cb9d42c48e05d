#include <zemoconsole.h>

#include <cstring>

void recordCall(const std::string& call);

std::string DBusConnection_c::getString(DBusValue_e value) {
  const std::string number = std::to_string(static_cast<int>(value));
  recordCall("console text " + number);
  return "9" + number;
}

void DBusConnection_c::getSetProductVin(bool set, char* buffer) {
  recordCall(set ? "console vin set" : "console vin");
  std::strcpy(buffer, "VIN");
}

bool DBusConnection_c::getCertificationData(CertificationData_s& data) {
  recordCall("console certification");
  data.year = 2024;
  data.revision = 2;
  data.laboratoryType = 1;
  data.laboratoryId = 500;
  data.referenceNumber = 77;
  return true;
}

uint8_t DBusConnection_c::getVirtualTerminalVersion() {
  recordCall("console vt version");
  return 4;
}

DBusConnection_c* getDBusInterfaceInstance() {
  static DBusConnection_c connection;
  return &connection;
}

int GetConsoleHWVersion() {
  recordCall("console hardware version");
  return 12;
}
