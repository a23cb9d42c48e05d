// The published interface of the ISOBUS stack as far as libzemoUtils, its examples and its tests call it.
//
//   Order of use: System_c::init, Scheduler_c::init, CanIo_c::init for each bus, then per ISOBUS instance the protocol
//                 services, then identities; Scheduler_c::runDueWork from the main loop; close in reverse.
//   Threads: one thread drives the stack and makes every call.
#pragma once

#include "can.h"
#include "clients.h"
#include "identity.h"
#include "name.h"
#include "network.h"
#include "system.h"
#include "vtclient.h"
