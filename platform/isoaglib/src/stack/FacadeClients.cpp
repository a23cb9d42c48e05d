#include "HostState.h"
#include "Journal.h"

using namespace IsoBusHost;

namespace __IsoAgLib {

bool BaseCommon_c::init() {
  switchService(m_name, instance(), true);
  return true;
}

bool BaseCommon_c::close() {
  switchService(m_name, instance(), false);
  return true;
}

void TcClient_c::init() {
  switchService("TcClient_c", instance(), true);
}

void TcClient_c::close() {
  switchService("TcClient_c", instance(), false);
}

TracGeneral_c& getTracGeneralInstance(unsigned char instance) {
  return instanceOf<TracGeneral_c>(instance);
}

TracFacilities_c& getTracFacilitiesInstance(unsigned char instance) {
  return instanceOf<TracFacilities_c>(instance);
}

TracMove_c& getTracMoveInstance(unsigned char instance) {
  return instanceOf<TracMove_c>(instance);
}

TracPto_c& getTracPtoInstance(unsigned char instance) {
  return instanceOf<TracPto_c>(instance);
}

TracLight_c& getTracLightInstance(unsigned char instance) {
  return instanceOf<TracLight_c>(instance);
}

TracAux_c& getTracAuxInstance(unsigned char instance) {
  return instanceOf<TracAux_c>(instance);
}

TracGuidance_c& getTracGuidanceInstance(unsigned char instance) {
  return instanceOf<TracGuidance_c>(instance);
}

TracGuidanceCommand_c& getTracGuidanceCommandInstance(unsigned char instance) {
  return instanceOf<TracGuidanceCommand_c>(instance);
}

TimePosGps_c& getTimePosGpsInstance(unsigned char instance) {
  return instanceOf<TimePosGps_c>(instance);
}

TcClient_c& getTcClientInstance(unsigned char instance) {
  return instanceOf<TcClient_c>(instance);
}

} // namespace __IsoAgLib
