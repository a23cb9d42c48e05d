// Version and identification texts of the console, and the application's own software version.
// The console's texts are fetched once, on first use, and kept for the life of the object.
//
//   Order of use: any getter at any time; ZemoApp::init stores the software version.
//   Threads: one thread. The first use of two threads together is not safe.
//   Prints: one line on standard output when the console's texts are fetched.
#pragma once

#include "ZemoExport.h"

#include <string>

// ComponentVersions_c: the console's boot-loader, operating-system, serial-number and part-number texts.
class ZEMO_EXPORT ComponentVersions_c {
public:
  // All texts are empty; the console is not asked.
  ComponentVersions_c();

  // init: fetches the console's texts once.
  //
  //   Effects  the first call writes " OS:<os> Boot:<boot> Part:<part> Serial:<serial>" and a line end to standard
  //            output; later calls do nothing
  //   Fails    a value that cannot be had stays empty and is not asked for again
  void init();

  // setSoftwareVersion: replaces the application's software version.
  void setSoftwareVersion(const std::string& softwareVersion);

  // getSoftwareVersion: returns the stored version, empty before setSoftwareVersion. Does not ask the console.
  std::string getSoftwareVersion();

  // The four console texts. Each calls init first.
  std::string getBootLoaderVersion();
  std::string getOSVersion();
  std::string getSerialNumber();
  std::string getZemoPartNumber();

  // getVehicleCode: returns the decimal number after the part number's separator. Calls init first.
  //
  //   Gives    the number after the first ',' or, where there is no ',', after the first '.'; -1 without a separator
  //   Kept     a ',' anywhere wins over an earlier '.'
  //
  //   part number   result
  //   4711,3        3
  //   4711.3        3
  //   47.11,2       2
  //   4711.         0
  //   4711          -1
  int getVehicleCode();

private:
  bool m_initialized;
  std::string m_softwareVersion;
  std::string m_bootLoaderVersion;
  std::string m_osVersion;
  std::string m_serialNumber;
  std::string m_partNumber;
};
