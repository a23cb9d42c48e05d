// The published interface of the console-services library as far as libzemoUtils, its examples and its tests call it.
//
//   Threads: one thread.
#pragma once

#include <cstdint>
#include <string>

// DBusValue_e: the texts that the console knows. The numbers are the interface.
enum DBusValue_e : int {
  DBusBootLoaderVersion = 5,
  DBusOsVersion = 6,
  DBusSerialNumber = 8,
  DBusPartNumber = 10,
  DBusHardwareVariant = 11,
};

// CertificationData_s: the console's compliance certification, each field in a 32-bit slot of its own.
struct CertificationData_s {
  uint32_t year;            // low 16 bits
  uint32_t revision;        // low 8 bits
  uint32_t laboratoryType;  // 0 to 3 (ISO 11783-7)
  uint32_t laboratoryId;    // low 16 bits
  uint32_t referenceNumber; // low 16 bits
};

// DBusConnection_c: the connection to the console's services.
class DBusConnection_c {
public:
  // getString: returns a console text, empty when the console has none.
  std::string getString(DBusValue_e value);

  // getSetProductVin: with set, stores the VIN in buffer; then writes the current VIN into buffer.
  //
  //   Takes    buffer: room for 256 characters; with set a terminated text
  //   Gives    a terminated text of fewer than 256 characters
  void getSetProductVin(bool set, char* buffer);

  // getCertificationData: fills data and returns true when the console has certification data.
  bool getCertificationData(CertificationData_s& data);

  // getVirtualTerminalVersion: returns the version of the console's VT (ISO 11783-6).
  uint8_t getVirtualTerminalVersion();
};

// getDBusInterfaceInstance: returns the connection of this process, never null.
DBusConnection_c* getDBusInterfaceInstance();

// GetConsoleHWVersion: returns the hardware version of the console, -1 when it is not known.
extern "C" int GetConsoleHWVersion();
