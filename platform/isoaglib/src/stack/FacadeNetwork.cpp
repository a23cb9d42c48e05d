#include "HostState.h"
#include "Journal.h"

#include <algorithm>

using namespace IsoBusHost;

namespace __IsoAgLib {

namespace {

void switchNode(unsigned int instance, void (BusNode_c::*service)(bool), bool on) {
  if (nodeOf(instance) != nullptr) {
    (nodeOf(instance)->*service)(on);
  }
}

const char* textOf(bool value) {
  return value ? "true" : "false";
}

bool isNameThere(unsigned int instance, uint64_t name) {
  const auto& registered = hostState().registered;
  return std::any_of(registered.begin(), registered.end(), [instance, name](const IdentItem_c::State_s* item) {
    return item->instance == instance && item->name.value() == name;
  });
}

FunctionSettings_s settingsOf(IdentItem_c::State_s& item) {
  FunctionSettings_s settings;
  settings.name = item.name.value();
  settings.workingSetMembers = item.slaveCount;
  settings.memberNames = item.slaveNames;
  settings.onClaimed = [&item](uint8_t address) {
    Journal::add("-> ident " + std::to_string(item.number) + " storeSa(" + std::to_string(address) + ")");
    item.storage->storeSa(address);
  };
  settings.answer = [&item](uint32_t pgn) -> std::optional<std::vector<uint8_t>> {
    const auto answer = item.answers.find(pgn);
    if (answer == item.answers.end()) {
      return std::nullopt;
    }
    return answer->second;
  };
  return settings;
}

bool putOnBus(BusNode_c& node, IdentItem_c::State_s& item) {
  FunctionSettings_s settings = settingsOf(item);
  settings.preferredAddress = item.storage->loadSa();
  const std::string ident = "-> ident " + std::to_string(item.number);
  Journal::add(ident + " loadSa() = " + std::to_string(settings.preferredAddress));
  Journal::add(ident + " loadDtcs()");
  item.storage->loadDtcs(item.dtcs);
  item.function = node.add(std::move(settings));
  return item.function != nullptr;
}

} // namespace

void IsoItem_c::setUseWorkingSet(bool use) {
  Journal::add(std::string("IsoItem_c::setUseWorkingSet(") + textOf(use) + ")");
}

void IsoRequestPgn_c::init() {
  switchService("IsoRequestPgn_c", instance(), true);
  switchNode(instance(), &BusNode_c::setRequests, true);
}

void IsoRequestPgn_c::close() {
  switchService("IsoRequestPgn_c", instance(), false);
  switchNode(instance(), &BusNode_c::setRequests, false);
}

void IsoMonitor_c::init() {
  switchService("IsoMonitor_c", instance(), true);
  switchNode(instance(), &BusNode_c::setNetworkManagement, true);
}

void IsoMonitor_c::close() {
  switchService("IsoMonitor_c", instance(), false);
  detachAll(instance());
  switchNode(instance(), &BusNode_c::setNetworkManagement, false);
}

void IsoMonitor_c::setUseWorkingSet(bool use) {
  Journal::add(std::string("IsoMonitor_c::setUseWorkingSet(") + textOf(use) + ")");
}

void IsoMonitor_c::setSARequestPeriod(int periodMs) {
  Journal::add("IsoMonitor_c::setSARequestPeriod(" + std::to_string(periodMs) + ")");
  hostState().requestPeriodMs = periodMs;
  for (unsigned int instance = 0; instance < isoInstances; ++instance) {
    if (nodeOf(instance) != nullptr) {
      nodeOf(instance)->setRequestPeriodMs(periodMs);
    }
  }
}

bool IsoMonitor_c::registerIdentItem(IdentItem_c& item) {
  IdentItem_c::State_s& state = item.state();
  Journal::add(serviceName("IsoMonitor_c", instance()) + "::registerIdentItem(ident " + std::to_string(state.number) +
               ")");
  BusNode_c* node = nodeOf(instance());
  const bool isUp = node != nullptr && isServiceOn("IsoMonitor_c", instance());
  if (!isUp || hostState().faults.refuseRegistration || state.storage == nullptr || state.isRegistered) {
    return false;
  }
  // A NAME that is there already stays silent: two functions of one NAME would contend for ever.
  const bool mayClaim = state.claimWhenRegistered && !isNameThere(instance(), state.name.value());
  if (mayClaim && !putOnBus(*node, state)) {
    return false;
  }
  state.isRegistered = true;
  state.instance = instance();
  hostState().registered.push_back(&state);
  return true;
}

bool IsoMonitor_c::deregisterIdentItem(IdentItem_c& item) {
  IdentItem_c::State_s& state = item.state();
  Journal::add(serviceName("IsoMonitor_c", instance()) + "::deregisterIdentItem(ident " + std::to_string(state.number) +
               ")");
  if (!state.isRegistered || state.instance != instance()) {
    return false;
  }
  Journal::add("-> ident " + std::to_string(state.number) + " storeDtcs()");
  state.storage->storeDtcs(state.dtcs);
  detach(state);
  return true;
}

void IsoFilterManager_c::init() {
  switchService("IsoFilterManager_c", instance(), true);
}

void IsoFilterManager_c::close() {
  switchService("IsoFilterManager_c", instance(), false);
}

void ProprietaryMessageHandler_c::init() {
  switchService("ProprietaryMessageHandler_c", instance(), true);
}

void ProprietaryMessageHandler_c::close() {
  switchService("ProprietaryMessageHandler_c", instance(), false);
}

void MultiReceive_c::init() {
  switchService("MultiReceive_c", instance(), true);
  switchNode(instance(), &BusNode_c::setMultiReceive, true);
}

void MultiReceive_c::close() {
  switchService("MultiReceive_c", instance(), false);
  switchNode(instance(), &BusNode_c::setMultiReceive, false);
}

void MultiSend_c::init() {
  switchService("MultiSend_c", instance(), true);
  switchNode(instance(), &BusNode_c::setMultiSend, true);
}

void MultiSend_c::close() {
  switchService("MultiSend_c", instance(), false);
  switchNode(instance(), &BusNode_c::setMultiSend, false);
}

IsoRequestPgn_c& getIsoRequestPgnInstance(unsigned int instance) {
  return instanceOf<IsoRequestPgn_c>(instance);
}

IsoMonitor_c& getIsoMonitorInstance(unsigned int instance) {
  return instanceOf<IsoMonitor_c>(instance);
}

IsoFilterManager_c& getIsoFilterManagerInstance(unsigned int instance) {
  return instanceOf<IsoFilterManager_c>(instance);
}

ProprietaryMessageHandler_c& getProprietaryMessageHandlerInstance(unsigned char instance) {
  return instanceOf<ProprietaryMessageHandler_c>(instance);
}

MultiReceive_c& getMultiReceiveInstance(unsigned int instance) {
  return instanceOf<MultiReceive_c>(instance);
}

MultiSend_c& getMultiSendInstance(unsigned int instance) {
  return instanceOf<MultiSend_c>(instance);
}

} // namespace __IsoAgLib
