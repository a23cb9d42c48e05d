#include "../vt/VtClientService.h"
#include "HostClock.h"
#include "HostState.h"
#include "Journal.h"

#include <algorithm>

using namespace IsoBusHost;

namespace __IsoAgLib {
// Answered by libzemoUtils; a program without it (the tools) has no answer.
const char* getZemoEepromFileName() __attribute__((weak));
} // namespace __IsoAgLib

bool isoaglib_assert_callStart() {
  const bool isWaived = hostState().faults.assertCallStart && hostState().faults.assertCallStart();
  Journal::add(std::string("isoaglib_assert_callStart() = ") + (isWaived ? "true" : "false"));
  return isWaived;
}

void isoaglib_assert_callFinish() {
  Journal::add("isoaglib_assert_callFinish()");
}

const char* getIsoAgLibVersion() {
  Journal::add("getIsoAgLibVersion()");
  return "IsoAgLib.host.1.0.0";
}

namespace __IsoAgLib {

bool System_c::init() {
  Journal::add("System_c::init()");
  hostState().servicesOn.insert("System_c");
  if (getZemoEepromFileName != nullptr) {
    hostState().eepromFile = getZemoEepromFileName();
    Journal::add("-> getZemoEepromFileName() = \"" + hostState().eepromFile + "\"");
  }
  return true;
}

bool System_c::close() {
  Journal::add("System_c::close()");
  hostState().servicesOn.erase("System_c");
  return true;
}

System_c& getSystemInstance() {
  static System_c instance;
  return instance;
}

void Scheduler_c::init(IsoAgLib::iErrorObserver_c* observer) {
  Journal::add(std::string("Scheduler_c::init(") + (observer == nullptr ? "null" : "observer") + ")");
  hostState().servicesOn.insert("Scheduler_c");
  hostState().errorObserver = observer;
  hostState().schedulerOn = true;
}

void Scheduler_c::close() {
  Journal::add("Scheduler_c::close()");
  hostState().servicesOn.erase("Scheduler_c");
  hostState().errorObserver = nullptr;
  hostState().schedulerOn = false;
}

namespace {

constexpr int longestWaitMs = 1000;
constexpr int blockedWaitMs = 10; // what is due meanwhile could not be sent either

bool hasPendingFrames() {
  const auto& ports = hostState().ports;
  return std::any_of(ports.begin(), ports.end(), [](const auto& port) { return port && port->hasPending(); });
}

bool isAnyBusBlocked() {
  const auto& ports = hostState().ports;
  return std::any_of(ports.begin(), ports.end(), [](const auto& port) { return port && port->isBlocked(); });
}

// nextDueMs: returns when a node or a VT client has something to do, as far as nothing else happens.
uint64_t nextDueMs() {
  uint64_t dueMs = never;
  for (unsigned int instance = 0; instance < isoInstances; ++instance) {
    const uint64_t nodeMs = nodeOf(instance) == nullptr ? never : nodeOf(instance)->nextDueMs();
    dueMs = std::min({dueMs, nodeMs, vtClientService(instance)->dueMs()});
  }
  return dueMs;
}

// The proprietary bus has no protocol of ours: its frames are taken, so that observers see them, and dropped.
void drainProprietaryBus() {
  constexpr int maxFrames = 1000;
  CanPort_c* port = hostState().ports[2].get();
  for (int frames = 0; port != nullptr && frames < maxFrames && port->receive(); ++frames) {
  }
}

// The control functions lose their addresses and with them all that waits to be sent: nobody tries again and again.
void leaveLostBus(unsigned int instance) {
  if (nodeOf(instance) != nullptr) {
    nodeOf(instance)->setNetworkManagement(false);
  }
}

void reportLostBuses() {
  for (unsigned int instance = 0; instance < canInstances; ++instance) {
    CanPort_c* port = hostState().ports[instance].get();
    if (port == nullptr || port->transport().isOpen() || hostState().lossReported[instance]) {
      continue;
    }
    hostState().lossReported[instance] = true;
    leaveLostBus(instance);
    reportError("CAN instance " + std::to_string(instance) + ": " + port->transport().error());
  }
}

} // namespace

int Scheduler_c::runDueWork() {
  if (!hostState().schedulerOn) {
    return longestWaitMs;
  }
  for (unsigned int instance = 0; instance < isoInstances; ++instance) {
    // Looked up anew each time: an application may close the stack from a call-back.
    if (nodeOf(instance) != nullptr) {
      nodeOf(instance)->poll();
    }
    vtClientService(instance)->work();
  }
  drainProprietaryBus();
  reportLostBuses();
  const uint64_t nowMs = HostClock::nowMs();
  if (hasPendingFrames()) {
    return 0;
  }
  if (isAnyBusBlocked()) {
    return blockedWaitMs;
  }
  const uint64_t dueMs = nextDueMs();
  if (dueMs <= nowMs) {
    return 0;
  }
  return static_cast<int>(std::min<uint64_t>(dueMs - nowMs, longestWaitMs));
}

bool Scheduler_c::waitForWork(int timeoutMs) {
  // What the application has asked for since it ran the due work: a long text, for example.
  const bool isDue = !isAnyBusBlocked() && nextDueMs() <= HostClock::nowMs();
  // A clock that is turned by hand stands still while we sleep.
  if (hasPendingFrames() || isDue || HostClock::isTurnedByHand()) {
    return hasPendingFrames() || isDue;
  }
  std::vector<pollfd> descriptors = Host::pollDescriptors();
  return poll(descriptors.data(), static_cast<nfds_t>(descriptors.size()), timeoutMs) > 0;
}

Scheduler_c& getSchedulerInstance() {
  static Scheduler_c instance;
  return instance;
}

} // namespace __IsoAgLib
