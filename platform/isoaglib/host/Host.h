// What a test, an example or a tool may say to the host stack beyond the published interface: which buses it opens,
// which faults it plays, who sees its frames.
//
//   Environment: ZEMO_CAN0 and ZEMO_CAN1 name the transport of physical bus 0 and 1 (see CanTransport.h); without them
//                and without setBus both are buses inside the process, "local:can0" and "local:can1".
//   Threads: the thread that drives the stack.
#pragma once

#include "BusNode.h"
#include "CanPort.h"

#include <functional>
#include <poll.h>
#include <string>
#include <vector>

namespace IsoBusHost::Host {

constexpr unsigned int physicalBuses = 2;

// setBus: names the transport of a physical bus, ahead of the environment; an empty address takes the name back.
void setBus(unsigned int busNumber, const std::string& address);
std::string busAddress(unsigned int busNumber);

// lastError: returns why the last bus did not open or was lost, one line; empty when all is well.
std::string lastError();

// observe: lets an observer see every frame of every bus opened from now on; bus is "can0" or "can1".
using BusObserver = std::function<void(const std::string& bus, const CanFrame_s&, Direction_e, uint64_t wallClockUs)>;
void observe(BusObserver observer);

// port, node: what stands behind a CAN instance (0 to 2) and an ISOBUS instance (0 and 1); null while not open.
CanPort_c* port(unsigned int canInstance);
BusNode_c* node(unsigned int isoInstance);

// servicesOn: returns the published services that are initialised, sorted, for example "TracMove_c[0]".
std::vector<std::string> servicesOn();

// pollDescriptors: returns what poll() of an own main loop waits on; a bus inside the process has no descriptor.
std::vector<pollfd> pollDescriptors();

// eepromFile: returns the path that System_c::init was told, empty before.
std::string eepromFile();

// Faults, each until it is taken back with false, 0 or an empty function.
struct Faults_s {
  bool canBusFails[physicalBuses] = {false, false};
  bool refuseRegistration = false;
  std::function<bool()> assertCallStart; // answers isoaglib_assert_callStart(); empty: false
};
Faults_s& faults();

// reset: closes everything, clears faults, observers and bus names, and starts the numbering of identity items anew.
void reset();

} // namespace IsoBusHost::Host
