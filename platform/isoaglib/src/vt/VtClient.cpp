#include "Journal.h"
#include "VtClientService.h"
#include "VtSeam.h"

#include <algorithm>
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
    m_state->connection.setSelection(std::move(accepts));
  }
}

IsoAgLib::iVtClientState_t VtClientConnection_c::state() const {
  return m_state ? m_state->connection.state() : IsoAgLib::VtClientWaitsForAddress;
}

const IsoAgLib::iVtProperties_s& VtClientConnection_c::vtProperties() const {
  static const IsoAgLib::iVtProperties_s unknown{};
  return m_state ? m_state->connection.properties() : unknown;
}

uint8_t VtClientConnection_c::getUserClippedColor(uint8_t colour, IsoAgLib::iVtObject_c* object,
                                                  IsoAgLib::e_vtColour colourKind) {
  if (vtProperties().version == 0) {
    return colour;
  }
  return m_state->connection.pool().convertColour(colour, vtProperties(), object, colourKind);
}

std::size_t VtClientConnection_c::commandsWaiting() const {
  return m_state ? m_state->connection.commands().waiting() : 0;
}

// --- The client of an instance

namespace {

constexpr std::size_t labelBytes = 7;

std::string poolText(const IsoAgLib::iVtObjectPool_c& pool) {
  return "pool of " + std::to_string(pool.count()) + " objects";
}

// labelOf: returns the label with 7 characters, filled with blanks; empty for none.
std::string labelOf(const char* versionLabel) {
  std::string label = versionLabel == nullptr ? "" : versionLabel;
  if (!label.empty()) {
    label.resize(labelBytes, ' ');
  }
  return label;
}

} // namespace

void VtClient_c::init() {
  switchService("VtClient_c", instance(), true);
  if (getConnectAllowedVtServerType != nullptr) {
    Journal::add("-> getConnectAllowedVtServerType() = " + std::to_string(getConnectAllowedVtServerType()));
  }
  if (VtClientService_c* service = vtClientService(instance())) {
    service->setOn(true);
  }
}

void VtClient_c::close() {
  switchService("VtClient_c", instance(), false);
  if (VtClientService_c* service = vtClientService(instance())) {
    service->setOn(false);
  }
}

VtClientConnection_c* VtClient_c::initAndRegisterObjectPool(IdentItem_c& ident, IsoAgLib::iVtObjectPool_c& pool,
                                                            const char* versionLabel,
                                                            IsoAgLib::iVtClientDataStorage_c* storage) {
  Journal::add(serviceName("VtClient_c", instance()) + "::initAndRegisterObjectPool(ident " +
               std::to_string(ident.state().number) + ", " + poolText(pool) + ", " +
               (versionLabel == nullptr ? "null" : "\"" + std::string(versionLabel) + "\"") + ", " +
               (storage == nullptr ? "null" : "storage") + ")");
  VtClientService_c* service = vtClientService(instance());
  VtConnectionSettings_s settings;
  settings.instance = instance();
  settings.pool = &pool;
  settings.label = labelOf(versionLabel);
  settings.storage = storage;
  return service == nullptr ? nullptr : service->add(std::move(settings), ident.state());
}

bool VtClient_c::deregisterObjectPool(IsoAgLib::iVtObjectPool_c& pool) {
  VtClientService_c* service = vtClientService(instance());
  const bool isRemoved = service != nullptr && service->remove(pool);
  Journal::add(serviceName("VtClient_c", instance()) + "::deregisterObjectPool(" + poolText(pool) +
               ") = " + (isRemoved ? "true" : "false"));
  return isRemoved;
}

VtClientConnection_c& VtClient_c::getClientByID(uint8_t clientID) {
  static VtClientConnection_c keepsNothing;
  const VtClientService_c* service = vtClientService(instance());
  VtClientConnection_c* connection = service == nullptr ? nullptr : service->find(clientID);
  return connection == nullptr ? keepsNothing : *connection;
}

VtClient_c& getVtClientInstance(unsigned char instance) {
  return instanceOf<VtClient_c>(instance);
}

} // namespace __IsoAgLib

namespace IsoBusHost {

bool queueVtCommand(const __IsoAgLib::vtObject_c& object, const uint8_t* bytes, std::size_t length, bool mayReplace) {
  VtClientService_c* service = vtClientService(object.getMultitonInstance());
  __IsoAgLib::VtClientConnection_c* connection = service == nullptr ? nullptr : service->find(object.getClientID());
  return connection != nullptr && connection->connectionState()->connection.putCommand(bytes, length, mayReplace);
}

VtClientStatistics_s vtClientStatistics(const __IsoAgLib::VtClientConnection_c& connection) {
  const auto* state = connection.connectionState();
  return state == nullptr ? VtClientStatistics_s{} : state->connection.statistics();
}

} // namespace IsoBusHost
