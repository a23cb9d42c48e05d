// The protocol services of one ISOBUS instance: requests, network management, filters, transport protocol.
#pragma once

#include "identity.h"

namespace __IsoAgLib {

// InstanceService_c: what all services of an instance have in common.
class InstanceService_c {
public:
  unsigned int instance() const { return m_instance; }

protected:
  explicit InstanceService_c(unsigned int instance) : m_instance(instance) {}

private:
  unsigned int m_instance;
};

// IsoItem_c: a control function seen on the bus.
class IsoItem_c {
public:
  static void setUseWorkingSet(bool use);
};

// IsoRequestPgn_c: answers requests for PGNs (ISO 11783-3) while it is initialised.
class IsoRequestPgn_c : public InstanceService_c {
public:
  explicit IsoRequestPgn_c(unsigned int instance) : InstanceService_c(instance) {}
  void init();
  void close();
};

// IsoMonitor_c: network management (ISO 11783-5) while it is initialised.
class IsoMonitor_c : public InstanceService_c {
public:
  explicit IsoMonitor_c(unsigned int instance) : InstanceService_c(instance) {}
  void init();
  void close();

  static void setUseWorkingSet(bool use);

  // setSARequestPeriod: sets how often all control functions are asked for their address.
  //
  //   Takes    periodMs: milliseconds; 0 and less: only once at the start
  static void setSARequestPeriod(int periodMs);

  // registerIdentItem: puts a control function on the bus.
  //
  //   Gives    false when the monitor is not initialised, the item has no NAME or is registered already, or another
  //            own control function of the instance has the same NAME
  bool registerIdentItem(IdentItem_c& item);

  // deregisterIdentItem: takes it off the bus.
  //
  //   Gives    false when the item is not registered with this instance
  bool deregisterIdentItem(IdentItem_c& item);
};

// IsoFilterManager_c: routes messages to their receivers while it is initialised.
class IsoFilterManager_c : public InstanceService_c {
public:
  explicit IsoFilterManager_c(unsigned int instance) : InstanceService_c(instance) {}
  void init();
  void close();
};

// ProprietaryMessageHandler_c: proprietary messages A and B.
class ProprietaryMessageHandler_c : public InstanceService_c {
public:
  explicit ProprietaryMessageHandler_c(unsigned int instance) : InstanceService_c(instance) {}
  void init();
  void close();
};

// MultiReceive_c: receives messages of more than 8 bytes (ISO 11783-3) while it is initialised.
class MultiReceive_c : public InstanceService_c {
public:
  explicit MultiReceive_c(unsigned int instance) : InstanceService_c(instance) {}
  void init();
  void close();
};

// MultiSend_c: sends messages of more than 8 bytes (ISO 11783-3) while it is initialised.
class MultiSend_c : public InstanceService_c {
public:
  explicit MultiSend_c(unsigned int instance) : InstanceService_c(instance) {}
  void init();
  void close();
};

// Takes    instance: 0 ISOBUS, 1 chassis; any other number gets a service that is never on a bus
IsoRequestPgn_c& getIsoRequestPgnInstance(unsigned int instance);
IsoMonitor_c& getIsoMonitorInstance(unsigned int instance);
IsoFilterManager_c& getIsoFilterManagerInstance(unsigned int instance);
ProprietaryMessageHandler_c& getProprietaryMessageHandlerInstance(unsigned char instance);
MultiReceive_c& getMultiReceiveInstance(unsigned int instance);
MultiSend_c& getMultiSendInstance(unsigned int instance);

} // namespace __IsoAgLib
