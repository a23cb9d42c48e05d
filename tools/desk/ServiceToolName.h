// The service tool's own place on a bus.
#pragma once

#include <cstdint>

// The address that ISO 11783 sets aside for an off-board service tool, and the first choice of ours.
constexpr uint8_t serviceToolAddress = 249;

// serviceToolName: returns the NAME: function 129 (off-board service tool), any industry group, manufacturer 733,
// self-configurable. The identity number is the number of the process, so that two tools may share a bus.
uint64_t serviceToolName();
