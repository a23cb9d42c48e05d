// The transports behind openTransport(), each opened from its part of the address.
#pragma once

#include "CanTransport.h"

namespace IsoBusHost {

// isDataFrame: whether a bus can carry the frame: at most 8 bytes, and an identifier of 29 or 11 bits.
bool isDataFrame(const CanFrame_s& frame);

std::unique_ptr<CanTransport_c> openLocalBus(const std::string& name);
std::unique_ptr<CanTransport_c> openSocketCan(const std::string& interfaceName, std::string& error);
std::unique_ptr<CanTransport_c> openSocketcand(const std::string& host, const std::string& port, const std::string& bus,
                                               std::string& error);

} // namespace IsoBusHost
