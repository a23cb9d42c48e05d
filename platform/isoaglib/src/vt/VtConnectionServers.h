// The VTs of a bus: control functions that send VT status messages and whose NAME is known.
#pragma once

#include "BusNode.h"

#include <cstdint>
#include <map>

namespace IsoBusHost {

// VtServer_s: a VT.
struct VtServer_s {
  uint64_t name = 0;
  uint64_t statusMs = 0; // time of its last status
};

constexpr uint8_t vtStatusCode = 0xFE;
constexpr uint64_t vtLostMs = 3000; // without a status

class VtConnectionServers_c {
public:
  using Addresses = std::map<uint8_t, uint64_t>; // of control functions: address, NAME

  // status: a status came from an address. False when nobody is known to have it.
  bool status(uint8_t address, const Addresses& functions);

  // dropLost: forgets those that are silent for too long, or whose address is another's now.
  void dropLost(const Addresses& functions);
  void clear() { m_servers.clear(); }

  // by address
  const std::map<uint8_t, VtServer_s>& all() const { return m_servers; }
  bool isThere(uint8_t address, uint64_t name) const;
  uint64_t dueMs() const;

private:
  std::map<uint8_t, VtServer_s> m_servers;
};

} // namespace IsoBusHost
