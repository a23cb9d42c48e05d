#include "../stack/HostState.h"
#include "Journal.h"
#include "VtConnectionState.h"
#include "VtSeam.h"

#include <utility>

using namespace IsoBusHost;

namespace __IsoAgLib {

// Answered by libzemoUtils; a program without it (the tools) has no answer.
int getConnectAllowedVtServerType() __attribute__((weak));

// --- A connection

VtClientConnection_c::VtClientConnection_c() = default;
VtClientConnection_c::~VtClientConnection_c() = default;

void VtClientConnection_c::setState(std::unique_ptr<State_s> state) {
  m_state = std::move(state);
}

void VtClientConnection_c::setVtServerSelection(VtServerSelection accepts) {
  if (m_state) {
    m_state->selection = std::move(accepts);
  }
}

IsoAgLib::iVtClientState_t VtClientConnection_c::state() const {
  return m_state ? m_state->state : IsoAgLib::VtClientWaitsForAddress;
}

const IsoAgLib::iVtProperties_s& VtClientConnection_c::vtProperties() const {
  static const IsoAgLib::iVtProperties_s unknown{};
  return m_state ? m_state->properties : unknown;
}

uint8_t VtClientConnection_c::getUserClippedColor(uint8_t colour, IsoAgLib::iVtObject_c* object,
                                                  IsoAgLib::e_vtColour colourKind) {
  if (!m_state || m_state->pool == nullptr || vtProperties().version == 0) {
    return colour;
  }
  return m_state->pool->convertColour(colour, vtProperties(), object, colourKind);
}

std::size_t VtClientConnection_c::commandsWaiting() const {
  return 0;
}

// --- The client of an instance

void VtClient_c::init() {
  switchService("VtClient_c", instance(), true);
  if (getConnectAllowedVtServerType != nullptr) {
    Journal::add("-> getConnectAllowedVtServerType() = " + std::to_string(getConnectAllowedVtServerType()));
  }
}

void VtClient_c::close() {
  switchService("VtClient_c", instance(), false);
}

VtClientConnection_c& VtClient_c::getClientByID(uint8_t /*clientID*/) {
  static VtClientConnection_c keepsNothing;
  return keepsNothing;
}

VtClient_c& getVtClientInstance(unsigned char instance) {
  return instanceOf<VtClient_c>(instance);
}

} // namespace __IsoAgLib

namespace IsoBusHost {

bool queueVtCommand(const __IsoAgLib::vtObject_c& /*object*/, const uint8_t* /*bytes*/, std::size_t /*length*/,
                    bool /*mayReplace*/) {
  return false; // no connection keeps commands yet
}

} // namespace IsoBusHost
