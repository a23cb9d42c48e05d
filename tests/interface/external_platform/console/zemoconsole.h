// A second console-services library: other names for its values, virtual functions, certification fields of its own.
#pragma once

#include <cstdint>
#include <string>

enum class DBusValue_e : uint16_t { Nothing = 0, Everything = 0xFFFF };

struct CertificationData_s {
  int32_t year;
  int32_t revision;
  int32_t laboratoryType;
  int32_t laboratoryId;
  int32_t referenceNumber;
  char remark[32];
};

class DBusConnection_c {
public:
  virtual ~DBusConnection_c() = default;
  virtual uint8_t getVirtualTerminalVersion();
  virtual bool getCertificationData(CertificationData_s& data);
  virtual void getSetProductVin(bool set, char* buffer);
  virtual std::string getString(DBusValue_e value);
};

DBusConnection_c* getDBusInterfaceInstance();
extern "C" int GetConsoleHWVersion();
