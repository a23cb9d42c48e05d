#include "zemoconsole.h"

#include "ConsoleState.h"
#include "ValuesFile.h"

#include <cstdio>
#include <cstring>

namespace {

void storeVin(const std::string& vin) {
  ConsoleHost::State_s& state = ConsoleHost::state();
  state.values.vin = vin;
  if (state.file.empty()) {
    return;
  }
  const std::string problem = ConsoleHost::writeVin(state.file, vin);
  if (!problem.empty()) {
    std::fprintf(stderr, "%s\n", problem.c_str());
  }
}

} // namespace

std::string DBusConnection_c::getString(DBusValue_e value) {
  ConsoleHost::report("DBusConnection_c::getString(" + std::to_string(value) + ")");
  ConsoleHost::State_s& state = ConsoleHost::state();
  const auto queue = state.queuedAnswers.find(value);
  if (queue != state.queuedAnswers.end() && !queue->second.empty()) {
    std::string answer = queue->second.front();
    queue->second.pop_front();
    return answer;
  }
  const auto text = state.values.texts.find(value);
  return text == state.values.texts.end() ? std::string() : text->second;
}

void DBusConnection_c::getSetProductVin(bool set, char* buffer) {
  if (set) {
    // A text that fills the buffer has no end in it.
    const std::string vin(buffer, ::strnlen(buffer, ConsoleHost::maxVinLength));
    ConsoleHost::report("DBusConnection_c::getSetProductVin(true, \"" + vin + "\")");
    storeVin(vin);
  } else {
    ConsoleHost::report("DBusConnection_c::getSetProductVin(false)");
  }
  const std::string& vin = ConsoleHost::state().values.vin;
  const std::size_t length = ::strnlen(vin.c_str(), ConsoleHost::maxVinLength);
  std::memcpy(buffer, vin.c_str(), length);
  buffer[length] = '\0';
}

bool DBusConnection_c::getCertificationData(CertificationData_s& data) {
  ConsoleHost::report("DBusConnection_c::getCertificationData()");
  const ConsoleHost::Values_s& values = ConsoleHost::state().values;
  if (!values.hasCertification) {
    return false;
  }
  data = values.certification;
  return true;
}

uint8_t DBusConnection_c::getVirtualTerminalVersion() {
  ConsoleHost::report("DBusConnection_c::getVirtualTerminalVersion()");
  return static_cast<uint8_t>(ConsoleHost::state().values.virtualTerminalVersion);
}

DBusConnection_c* getDBusInterfaceInstance() {
  static DBusConnection_c connection;
  return &connection;
}

int GetConsoleHWVersion() {
  ConsoleHost::report("GetConsoleHWVersion()");
  return ConsoleHost::state().values.hardwareVersion;
}
