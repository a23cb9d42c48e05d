// The address of a bus, taken apart.
#pragma once

#include <cstdint>
#include <string>

namespace IsoBusHost {

enum class TransportKind_e { local, socketCan, socketcand };

struct TransportAddress_s {
  TransportKind_e kind = TransportKind_e::local;
  std::string bus; // name of the bus or of the interface; empty for the one local bus without a name
  std::string host;
  std::string port;
};

// parseTransportAddress: reads the text.
//
//   Gives    an empty text, else one line that says what is wrong; address is then unspecified
std::string parseTransportAddress(const std::string& text, TransportAddress_s& address);

} // namespace IsoBusHost
