// The published names in one header and laid out another way: virtual services, a NAME that is a number, an identity
// item that keeps nothing.
#pragma once

#include "vtobjects.h"

#include <cstdint>
#include <string>

// Where every call of this platform ends up. Printed by the application.
void recordCall(const std::string& call);

bool isoaglib_assert_callStart();
void isoaglib_assert_callFinish();
const char* getIsoAgLibVersion();

namespace IsoAgLib {
class iErrorObserver_c;
class iIdentItem_c;
class iIsoName_c;
} // namespace IsoAgLib

template <class Field_s>
class BitFieldWrapperLeft_c {
public:
  uint32_t bits() const { return m_bits; }

private:
  uint32_t m_bits = 0;
};

namespace __IsoAgLib {

class IdentItem_c;

class IsoName_c {
public:
  virtual ~IsoName_c() = default;
  void set(bool selfConfigurable, uint8_t industryGroup, uint8_t deviceClass, uint8_t deviceClassInstance,
           uint8_t function, uint16_t manufacturerCode, uint32_t identityNumber, uint8_t functionInstance,
           uint8_t ecuInstance);
  const uint8_t* outputString() const;

private:
  uint64_t m_value = 0;
};

class CanPkg_c {
public:
  virtual ~CanPkg_c() = default;
  virtual uint8_t getLen() const { return 0; }
  virtual uint8_t operator[](int /*index*/) const { return 0; }
};

class CanPkgExt_c : public CanPkg_c {
public:
  CanPkgExt_c(const CanPkg_c& message, int instance);
  virtual uint8_t isoSa() const { return 0xFE; }
};

// Service_c: whatever an instance of the stack opens and closes.
class Service_c {
public:
  Service_c(std::string name, unsigned int instance);
  virtual ~Service_c() = default;
  virtual void init();
  virtual void close();

protected:
  std::string call(const std::string& function) const;

private:
  std::string m_name;
  unsigned int m_instance;
};

struct VtClientConnection_c {
  uint8_t getUserClippedColor(uint8_t colour, IsoAgLib::iVtObject_c* object, IsoAgLib::e_vtColour kind);
};

class VtClient_c : public Service_c {
public:
  using Service_c::Service_c;
  VtClientConnection_c& getClientByID(int clientID);
};

class IsoMonitor_c : public Service_c {
public:
  using Service_c::Service_c;
  static void setUseWorkingSet(bool use);
  static void setSARequestPeriod(int periodMs);
  bool registerIdentItem(IdentItem_c& item);
  bool deregisterIdentItem(IdentItem_c& item);
};

struct IsoItem_c {
  static void setUseWorkingSet(bool use);
};

class CanBus_c {
public:
  CanBus_c(std::string name, unsigned int instance);
  bool init(int busNumber, int bitrateKbit);
  bool close();

private:
  std::string m_name;
};
using CanIo_c = CanBus_c;

struct System_c {
  bool init();
  void close();
};

struct Scheduler_c {
  void init(IsoAgLib::iErrorObserver_c* observer);
  void close();
};

System_c& getSystemInstance();
Scheduler_c& getSchedulerInstance();
CanIo_c& getCanInstance(unsigned int instance);

Service_c& getIsoRequestPgnInstance(unsigned int instance);
IsoMonitor_c& getIsoMonitorInstance(unsigned int instance);
Service_c& getIsoFilterManagerInstance(unsigned int instance);
Service_c& getProprietaryMessageHandlerInstance(unsigned char instance);
Service_c& getMultiReceiveInstance(unsigned int instance);
Service_c& getMultiSendInstance(unsigned int instance);
VtClient_c& getVtClientInstance(int instance);
Service_c& getTcClientInstance(int instance);
Service_c& getTracGeneralInstance(int instance);
Service_c& getTracFacilitiesInstance(int instance);
Service_c& getTracMoveInstance(int instance);
Service_c& getTracPtoInstance(int instance);
Service_c& getTracLightInstance(int instance);
Service_c& getTracAuxInstance(int instance);
Service_c& getTracGuidanceInstance(int instance);
Service_c& getTracGuidanceCommandInstance(int instance);
Service_c& getTimePosGpsInstance(int instance);

// Answered by the application's library.
const char* getZemoEepromFileName();
int getConnectAllowedVtServerType();

} // namespace __IsoAgLib

namespace IsoAgLib {

enum CertificationLabType_t : uint8_t { LabTypeFirst = 0, LabTypeLast = 3 };
struct Certification_s;
struct iDtcContainer_c;

class iIsoName_c : public __IsoAgLib::IsoName_c {};

class iIdentDataStorage_c {
public:
  virtual uint8_t loadSa() = 0;
  virtual void storeSa(uint8_t sa) = 0;
  virtual void loadDtcs(iDtcContainer_c& dtcs) = 0;
  virtual void storeDtcs(const iDtcContainer_c& dtcs) = 0;
};

class iVtClientDataStorage_c {
public:
  virtual void loadPreferredVt(iIsoName_c& name, uint8_t& bootTime) = 0;
  virtual void storePreferredVt(const iIsoName_c& name, uint8_t bootTime) = 0;
};

__IsoAgLib::CanBus_c& getIProprietaryBusInstance(int instance);

} // namespace IsoAgLib

namespace __IsoAgLib {

class IdentItem_c {
public:
  virtual ~IdentItem_c();
  static void setUseWorkingSet(bool use);
  void init(const IsoName_c& name, IsoAgLib::iIdentDataStorage_c& storage, int slaveCount, const IsoName_c* slaves,
            bool claim);
  void setEcuIdentification(const std::string& partNumber, const std::string& serialNumber, const std::string& location,
                            const std::string& type, const std::string& manufacturer, const std::string& hardwareId);
  void setProductIdentification(const std::string& code, const std::string& brand, const std::string& model);
  void setSwIdentification(const std::string& fields);
  void setCertificationData(uint16_t year, uint8_t revision, IsoAgLib::CertificationLabType_t laboratoryType,
                            uint16_t laboratoryId, BitFieldWrapperLeft_c<IsoAgLib::Certification_s> compliance,
                            uint16_t referenceNumber);
};

} // namespace __IsoAgLib

namespace IsoAgLib {
class iIdentItem_c : public __IsoAgLib::IdentItem_c {};
} // namespace IsoAgLib
