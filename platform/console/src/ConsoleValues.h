// The values of the console, as the defaults give them.
#pragma once

#include "zemoconsole.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace ConsoleHost {

// The longest VIN that fits the callers' buffer of 256 characters with its end.
constexpr std::size_t maxVinLength = 255;

struct Values_s {
  std::map<int, std::string> texts = {{DBusBootLoaderVersion, "1.07"},
                                      {DBusOsVersion, "3.1"},
                                      {DBusSerialNumber, "ZC123456"},
                                      {DBusPartNumber, "4711.5"},
                                      {DBusHardwareVariant, "1"}};
  std::string vin;
  int virtualTerminalVersion = 3;
  int hardwareVersion = 5;
  bool hasCertification = true;
  CertificationData_s certification = {2013, 31, 3, 733, 0};
  std::vector<std::string> missingKeys; // that the file does not name, "certification.year" for example
};

} // namespace ConsoleHost
