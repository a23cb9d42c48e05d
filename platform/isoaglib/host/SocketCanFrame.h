// A frame of Linux's PF_CAN raw sockets and its reading.
#pragma once

#include "CanFrame.h"

#include <cstddef>
#include <linux/can.h>
#include <optional>

namespace IsoBusHost {

// fromSocketCan: reads what a raw socket has given.
//
//   Takes    size: bytes that were read
//   Gives    empty for anything but a whole data frame: remote, error and CAN FD frames
std::optional<CanFrame_s> fromSocketCan(const can_frame& raw, size_t size);

can_frame toSocketCan(const CanFrame_s& frame);

} // namespace IsoBusHost
