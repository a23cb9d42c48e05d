// What stands behind the published singletons: ports, nodes, services and registered identity items of this process.
#pragma once

#include "Host.h"
#include "IsoAgLib/isoaglib.h"

#include <array>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace IsoBusHost {

constexpr unsigned int canInstances = 3; // 0 and 1 carry the ISOBUS instances, 2 the proprietary bus
constexpr unsigned int isoInstances = 2;

struct HostState_s {
  std::array<std::string, Host::physicalBuses> busAddresses;
  std::array<std::unique_ptr<CanPort_c>, canInstances> ports;
  std::array<bool, canInstances> lossReported{};
  std::array<std::unique_ptr<BusNode_c>, isoInstances> nodes;
  std::vector<Host::BusObserver> observers;
  std::set<std::string> servicesOn;
  std::vector<__IsoAgLib::IdentItem_c::State_s*> registered;
  Host::Faults_s faults;
  std::string lastError;
  std::string eepromFile;
  IsoAgLib::iErrorObserver_c* errorObserver = nullptr;
  bool schedulerOn = false;
  bool identItemUsesWorkingSet = true;
  int requestPeriodMs = 0;
  unsigned int identItems = 0; // created since reset, for their numbers
};

HostState_s& hostState();

// instanceOf: returns the service of an instance: one object for each ISOBUS instance, and one more, never on a bus,
// for any other number.
template <class Service_c>
Service_c& instanceOf(unsigned int instance) {
  static Service_c instances[] = {Service_c(0), Service_c(1), Service_c(isoInstances)};
  return instances[instance < isoInstances ? instance : isoInstances];
}

// nodeOf: returns the node of an ISOBUS instance, null while its CAN instance is closed or for any other number.
BusNode_c* nodeOf(unsigned int instance);

// reportError: keeps the line as the last error and tells the observer of the scheduler.
void reportError(const std::string& line);

// serviceName: returns "TracMove_c[0]".
std::string serviceName(const char* name, unsigned int instance);

// switchService: marks a service on or off and writes the call into the journal.
void switchService(const char* name, unsigned int instance, bool on);

bool isServiceOn(const char* name, unsigned int instance);

// openCan: opens a physical bus for a CAN instance; closeCan forgets everything that stands on it.
bool openCan(unsigned int instance, unsigned int busNumber);
void closeCan(unsigned int instance);

// detach: takes an identity item off its node.
void detach(__IsoAgLib::IdentItem_c::State_s& item);
void detachAll(unsigned int instance);

} // namespace IsoBusHost

// What the stack keeps behind an identity item.
struct __IsoAgLib::IdentItem_c::State_s {
  unsigned int number = 0;
  IsoName_c name;
  IsoAgLib::iIdentDataStorage_c* storage = nullptr;
  IsoAgLib::iDtcContainer_c dtcs;
  int slaveCount = -1;
  std::vector<uint64_t> slaveNames;
  bool claimWhenRegistered = true;
  std::map<uint32_t, std::vector<uint8_t>> answers; // by PGN
  bool isRegistered = false;
  unsigned int instance = 0;
  IsoBusHost::OwnFunction_c* function = nullptr; // null while not registered, and for a NAME that is there already
};
