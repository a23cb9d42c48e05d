#include "CanTransport.h"

#include "TransportAddress.h"
#include "Transports.h"

namespace IsoBusHost {

bool isDataFrame(const CanFrame_s& frame) {
  const uint32_t highest = frame.extended ? 0x1FFFFFFFU : 0x7FFU;
  return frame.length <= frame.data.size() && frame.identifier <= highest;
}

std::unique_ptr<CanTransport_c> openTransport(const std::string& address, std::string& error) {
  TransportAddress_s parts;
  error = parseTransportAddress(address, parts);
  if (!error.empty()) {
    return nullptr;
  }
  switch (parts.kind) {
  case TransportKind_e::local:
    return openLocalBus(parts.bus);
  case TransportKind_e::socketCan:
    return openSocketCan(parts.bus, error);
  case TransportKind_e::socketcand:
    return openSocketcand(parts.host, parts.port, parts.bus, error);
  }
  return nullptr;
}

std::string checkTransportAddress(const std::string& address) {
  TransportAddress_s parts;
  return parseTransportAddress(address, parts);
}

} // namespace IsoBusHost
