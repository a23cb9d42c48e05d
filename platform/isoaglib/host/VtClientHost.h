// What the host stack's VT client tells beyond its published interface.
//
//   Threads: the thread that drives the stack.
#pragma once

#include "IsoAgLib/vtclient.h"

#include <cstdint>

namespace IsoBusHost {

// VtClientStatistics_s: counters of one connection since its pool was registered.
struct VtClientStatistics_s {
  uint64_t commandsSent = 0;     // first attempts, repeats not counted
  uint64_t commandsReplaced = 0; // a newer one took the place of a waiting one
  uint64_t commandsRefused = 0;  // not kept: too many wait, or it is no command
  uint64_t commandsRepeated = 0; // sent again for want of an answer
  uint64_t commandsFailed = 0;   // answered with an error, or not at all
  uint64_t messagesIgnored = 0;  // of the VT: malformed, unknown, unknown objects, answers that nobody asked for
  uint64_t poolsSent = 0;        // uploads begun
  uint64_t connections = 0;      // how often the pool's commands could go out
};

// vtClientStatistics: returns the counters of a connection, zeroes for the one that keeps nothing.
VtClientStatistics_s vtClientStatistics(const __IsoAgLib::VtClientConnection_c& connection);

// How many commands of a connection wait at most, and how many bytes of those that are longer than a frame.
constexpr std::size_t maxVtCommands = 1024;
constexpr std::size_t maxVtTextBytes = std::size_t{1} << 20U;

} // namespace IsoBusHost
