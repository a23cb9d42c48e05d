#include "HostState.h"

#include "../vt/VtClientService.h"

#include "Journal.h"

#include <algorithm>
#include <cstdlib>

namespace IsoBusHost {

HostState_s& hostState() {
  static HostState_s state;
  return state;
}

BusNode_c* nodeOf(unsigned int instance) {
  return instance < isoInstances ? hostState().nodes[instance].get() : nullptr;
}

void reportError(const std::string& line) {
  hostState().lastError = line;
  if (hostState().errorObserver != nullptr) {
    hostState().errorObserver->onError(line.c_str());
  }
}

std::string serviceName(const char* name, unsigned int instance) {
  return std::string(name) + "[" + std::to_string(instance) + "]";
}

void switchService(const char* name, unsigned int instance, bool on) {
  const std::string service = serviceName(name, instance);
  Journal::add(service + (on ? "::init()" : "::close()"));
  if (on) {
    hostState().servicesOn.insert(service);
  } else {
    hostState().servicesOn.erase(service);
  }
}

bool isServiceOn(const char* name, unsigned int instance) {
  return hostState().servicesOn.count(serviceName(name, instance)) != 0;
}

namespace {

std::string busName(unsigned int busNumber) {
  return "can" + std::to_string(busNumber);
}

void connectObservers(CanPort_c& port, unsigned int busNumber) {
  for (const Host::BusObserver& observer : hostState().observers) {
    port.observe([observer, bus = busName(busNumber)](const CanFrame_s& frame, Direction_e direction, uint64_t timeUs) {
      observer(bus, frame, direction, timeUs);
    });
  }
}

} // namespace

bool openCan(unsigned int instance, unsigned int busNumber) {
  HostState_s& state = hostState();
  if (instance >= canInstances || busNumber >= Host::physicalBuses) {
    reportError("CAN instance " + std::to_string(instance) + ": there is no bus " + std::to_string(busNumber));
    return false;
  }
  if (state.faults.canBusFails[busNumber]) {
    reportError(busName(busNumber) + ": fails on request");
    return false;
  }
  if (state.ports[instance]) {
    return true;
  }
  std::string error;
  std::unique_ptr<CanTransport_c> transport = openTransport(Host::busAddress(busNumber), error);
  if (!transport) {
    reportError(busName(busNumber) + ": " + error);
    return false;
  }
  state.ports[instance] = std::make_unique<CanPort_c>(std::move(transport));
  state.lossReported[instance] = false;
  connectObservers(*state.ports[instance], busNumber);
  if (instance < isoInstances) {
    state.nodes[instance] = std::make_unique<BusNode_c>(*state.ports[instance]);
    state.nodes[instance]->setWorkingSets(state.identItemUsesWorkingSet);
    state.nodes[instance]->setRequestPeriodMs(state.requestPeriodMs);
    vtClientService(instance)->busOpened();
  }
  state.lastError.clear();
  return true;
}

void closeCan(unsigned int instance) {
  if (instance >= canInstances) {
    return;
  }
  if (instance < isoInstances) {
    vtClientService(instance)->busClosed();
    detachAll(instance);
    hostState().nodes[instance].reset();
  }
  hostState().ports[instance].reset();
}

void detach(__IsoAgLib::IdentItem_c::State_s& item) {
  if (!item.isRegistered) {
    return;
  }
  BusNode_c* node = nodeOf(item.instance);
  if (node != nullptr && item.function != nullptr) {
    node->remove(item.function);
  }
  item.function = nullptr;
  item.isRegistered = false;
  auto& registered = hostState().registered;
  registered.erase(std::remove(registered.begin(), registered.end(), &item), registered.end());
}

void detachAll(unsigned int instance) {
  const auto items = hostState().registered;
  for (__IsoAgLib::IdentItem_c::State_s* item : items) {
    if (item->instance == instance) {
      detach(*item);
    }
  }
}

namespace Host {

void setBus(unsigned int busNumber, const std::string& address) {
  hostState().busAddresses.at(busNumber) = address;
}

std::string busAddress(unsigned int busNumber) {
  const std::string& set = hostState().busAddresses.at(busNumber);
  if (!set.empty()) {
    return set;
  }
  const std::string variable = "ZEMO_CAN" + std::to_string(busNumber);
  const char* fromEnvironment = std::getenv(variable.c_str());
  if (fromEnvironment != nullptr && *fromEnvironment != '\0') {
    return fromEnvironment;
  }
  return "local:" + busName(busNumber);
}

std::string lastError() {
  return hostState().lastError;
}

void observe(BusObserver observer) {
  hostState().observers.push_back(std::move(observer));
}

CanPort_c* port(unsigned int canInstance) {
  return canInstance < canInstances ? hostState().ports[canInstance].get() : nullptr;
}

BusNode_c* node(unsigned int isoInstance) {
  return nodeOf(isoInstance);
}

std::vector<std::string> servicesOn() {
  return {hostState().servicesOn.begin(), hostState().servicesOn.end()};
}

std::vector<pollfd> pollDescriptors() {
  std::vector<pollfd> descriptors;
  for (const auto& port : hostState().ports) {
    if (!port || !port->transport().isOpen() || port->transport().descriptor() < 0) {
      continue;
    }
    const short events = port->transport().hasUnsent() ? POLLIN | POLLOUT : POLLIN;
    descriptors.push_back({port->transport().descriptor(), events, 0});
  }
  return descriptors;
}

std::string eepromFile() {
  return hostState().eepromFile;
}

Faults_s& faults() {
  return hostState().faults;
}

void reset() {
  for (unsigned int instance = 0; instance < isoInstances; ++instance) {
    vtClientService(instance)->setOn(false);
  }
  for (unsigned int instance = 0; instance < canInstances; ++instance) {
    closeCan(instance);
  }
  const auto items = hostState().registered;
  for (__IsoAgLib::IdentItem_c::State_s* item : items) {
    detach(*item);
  }
  hostState() = HostState_s();
}

} // namespace Host

} // namespace IsoBusHost
