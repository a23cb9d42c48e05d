#include "VtConnectionServers.h"

#include "HostClock.h"

#include <algorithm>
#include <iterator>

namespace IsoBusHost {

bool VtConnectionServers_c::status(uint8_t address, const Addresses& functions) {
  const auto function = functions.find(address);
  if (function == functions.end()) {
    return false;
  }
  m_servers[address] = {function->second, HostClock::nowMs()};
  return true;
}

void VtConnectionServers_c::dropLost(const Addresses& functions) {
  for (auto server = m_servers.begin(); server != m_servers.end();) {
    const auto function = functions.find(server->first);
    const bool isItself = function != functions.end() && function->second == server->second.name;
    const bool isSilent = HostClock::nowMs() - server->second.statusMs >= vtLostMs;
    server = isItself && !isSilent ? std::next(server) : m_servers.erase(server);
  }
}

bool VtConnectionServers_c::isThere(uint8_t address, uint64_t name) const {
  const auto server = m_servers.find(address);
  return server != m_servers.end() && server->second.name == name;
}

uint64_t VtConnectionServers_c::dueMs() const {
  uint64_t dueMs = never;
  for (const auto& [address, server] : m_servers) {
    dueMs = std::min(dueMs, server.statusMs + vtLostMs);
  }
  return dueMs;
}

} // namespace IsoBusHost
