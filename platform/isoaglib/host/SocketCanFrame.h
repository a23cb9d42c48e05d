// A frame of Linux's PF_CAN raw sockets and its reading, and the transport on such a socket.
#pragma once

#include "CanTransport.h"
#include "FileDescriptor.h"

#include <cstddef>
#include <linux/can.h>
#include <memory>
#include <optional>
#include <string>

namespace IsoBusHost {

// fromSocketCan: reads what a raw socket has given.
//
//   Takes    size: bytes that were read
//   Gives    empty for anything but a whole data frame: remote, error and CAN FD frames
std::optional<CanFrame_s> fromSocketCan(const can_frame& raw, size_t size);

can_frame toSocketCan(const CanFrame_s& frame);

// adoptSocketCan: sends and receives through a socket that is ready: bound, up, and not waiting.
//
//   Takes    interfaceName: for what error() says
std::unique_ptr<CanTransport_c> adoptSocketCan(FileDescriptor_c socket, const std::string& interfaceName);

} // namespace IsoBusHost
