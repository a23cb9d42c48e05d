#include "ComponentVersions_c.h"

#include "ConsoleLine.h"
#include "ConsoleValues.h"
#include "ZemoPlatform.h"

#include <cstdlib>
#include <cstring>

namespace {

void fetchIfEmpty(std::string& text, DBusValue_e value) {
  if (text.empty()) {
    getDBusInterfaceInstance()->getString(value).swap(text);
  }
}

} // namespace

ComponentVersions_c::ComponentVersions_c() : m_initialized(false) {}

void ComponentVersions_c::init() {
  if (m_initialized) {
    return;
  }
  // Marked before the console is asked: what fails half-way is not tried again.
  m_initialized = true;
  fetchIfEmpty(m_bootLoaderVersion, ConsoleValue::bootLoaderVersion);
  fetchIfEmpty(m_osVersion, ConsoleValue::osVersion);
  fetchIfEmpty(m_serialNumber, ConsoleValue::serialNumber);
  fetchIfEmpty(m_partNumber, ConsoleValue::partNumber);
  printLine({" OS:", m_osVersion, " Boot:", m_bootLoaderVersion, " Part:", m_partNumber, " Serial:", m_serialNumber});
}

void ComponentVersions_c::setSoftwareVersion(const std::string& softwareVersion) {
  m_softwareVersion.assign(softwareVersion.data(), softwareVersion.size());
}

std::string ComponentVersions_c::getSoftwareVersion() {
  return m_softwareVersion;
}

std::string ComponentVersions_c::getBootLoaderVersion() {
  init();
  return m_bootLoaderVersion;
}

std::string ComponentVersions_c::getOSVersion() {
  init();
  return m_osVersion;
}

std::string ComponentVersions_c::getSerialNumber() {
  init();
  return m_serialNumber;
}

std::string ComponentVersions_c::getZemoPartNumber() {
  init();
  return m_partNumber;
}

int ComponentVersions_c::getVehicleCode() {
  init();
  // Not the first of either: a ',' anywhere wins over an earlier '.'.
  const char* text = m_partNumber.c_str();
  const void* separator = std::memchr(text, ',', m_partNumber.size());
  if (separator == nullptr) {
    separator = std::memchr(text, '.', m_partNumber.size());
  }
  if (separator == nullptr) {
    return -1;
  }
  // atoi on purpose: no digit gives 0, and what follows the digits does not matter.
  return std::atoi(static_cast<const char*>(separator) + 1);
}
