// The optional services of one ISOBUS instance: tractor information and task-controller client. The VT client has
// headers of its own.
#pragma once

#include "network.h"

namespace __IsoAgLib {

// BaseCommon_c: what the services of the tractor information have in common.
class BaseCommon_c : public InstanceService_c {
public:
  bool init();
  bool close();

protected:
  BaseCommon_c(unsigned int instance, const char* name) : InstanceService_c(instance), m_name(name) {}

private:
  const char* m_name;
};

class TracGeneral_c : public BaseCommon_c {
public:
  explicit TracGeneral_c(unsigned int instance) : BaseCommon_c(instance, "TracGeneral_c") {}
};

class TracFacilities_c : public BaseCommon_c {
public:
  explicit TracFacilities_c(unsigned int instance) : BaseCommon_c(instance, "TracFacilities_c") {}
};

class TracMove_c : public BaseCommon_c {
public:
  explicit TracMove_c(unsigned int instance) : BaseCommon_c(instance, "TracMove_c") {}
};

class TracPto_c : public BaseCommon_c {
public:
  explicit TracPto_c(unsigned int instance) : BaseCommon_c(instance, "TracPto_c") {}
};

class TracLight_c : public BaseCommon_c {
public:
  explicit TracLight_c(unsigned int instance) : BaseCommon_c(instance, "TracLight_c") {}
};

class TracAux_c : public BaseCommon_c {
public:
  explicit TracAux_c(unsigned int instance) : BaseCommon_c(instance, "TracAux_c") {}
};

class TracGuidance_c : public BaseCommon_c {
public:
  explicit TracGuidance_c(unsigned int instance) : BaseCommon_c(instance, "TracGuidance_c") {}
};

class TracGuidanceCommand_c : public BaseCommon_c {
public:
  explicit TracGuidanceCommand_c(unsigned int instance) : BaseCommon_c(instance, "TracGuidanceCommand_c") {}
};

class TimePosGps_c : public BaseCommon_c {
public:
  explicit TimePosGps_c(unsigned int instance) : BaseCommon_c(instance, "TimePosGps_c") {}
};

TracGeneral_c& getTracGeneralInstance(unsigned char instance);
TracFacilities_c& getTracFacilitiesInstance(unsigned char instance);
TracMove_c& getTracMoveInstance(unsigned char instance);
TracPto_c& getTracPtoInstance(unsigned char instance);
TracLight_c& getTracLightInstance(unsigned char instance);
TracAux_c& getTracAuxInstance(unsigned char instance);
TracGuidance_c& getTracGuidanceInstance(unsigned char instance);
TracGuidanceCommand_c& getTracGuidanceCommandInstance(unsigned char instance);
TimePosGps_c& getTimePosGpsInstance(unsigned char instance);

// TcClient_c: the task-controller client.
class TcClient_c : public InstanceService_c {
public:
  explicit TcClient_c(unsigned int instance) : InstanceService_c(instance) {}
  void init();
  void close();
};

TcClient_c& getTcClientInstance(unsigned char instance);

} // namespace __IsoAgLib
