#include "NetworkManagement.h"

#include "HostClock.h"
#include "Identification.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

namespace {

constexpr uint8_t firstFreeAddress = 128;
constexpr uint8_t lastFreeAddress = 247; // of all industry groups, the preferred ones of 236 to 247 come last
constexpr uint64_t retryMs = 50;         // when the port did not take a claim

bool isSelfConfigurable(const OwnFunction_c& function) {
  return decodeName(function.name()).selfConfigurable;
}

// The random delay of the standard, 0 to 255 times 0.6 ms.
uint64_t randomDelayMs(uint64_t name) {
  unsigned int sum = 0;
  for (const uint8_t byte : nameBytes(name)) {
    sum += byte;
  }
  return ((sum & 0xFFU) * 6 + 9) / 10;
}

} // namespace

NetworkManagement_c::NetworkManagement_c(Callbacks_s callbacks, NodeStatistics_s& statistics)
    : m_callbacks(std::move(callbacks)), m_statistics(statistics) {}

void NetworkManagement_c::setOn(bool on) {
  if (on == m_bOn) {
    return;
  }
  m_bOn = on;
  m_others.clear();
  if (on) {
    m_joinedMs = HostClock::nowMs();
    request();
  }
  for (const auto& function : m_functions) {
    on ? join(*function) : leave(*function);
  }
}

void NetworkManagement_c::setRequestPeriodMs(int periodMs) {
  m_requestPeriodMs = periodMs;
}

OwnFunction_c* NetworkManagement_c::add(FunctionSettings_s settings) {
  if (!m_bOn || findName(settings.name) != nullptr) {
    return nullptr;
  }
  m_functions.push_back(std::make_unique<OwnFunction_c>());
  OwnFunction_c& function = *m_functions.back();
  function.m_settings = std::move(settings);
  function.m_wanted = function.m_settings.preferredAddress;
  join(function);
  return &function;
}

void NetworkManagement_c::remove(const OwnFunction_c* function) {
  const auto found = std::find_if(m_functions.begin(), m_functions.end(),
                                  [function](const auto& candidate) { return candidate.get() == function; });
  if (found == m_functions.end()) {
    return;
  }
  release(**found);
  m_functions.erase(found);
}

bool NetworkManagement_c::contains(const OwnFunction_c* function) const {
  return std::any_of(m_functions.begin(), m_functions.end(),
                     [function](const auto& candidate) { return candidate.get() == function; });
}

std::vector<OwnFunction_c*> NetworkManagement_c::functions() const {
  std::vector<OwnFunction_c*> all;
  for (const auto& function : m_functions) {
    all.push_back(function.get());
  }
  return all;
}

OwnFunction_c* NetworkManagement_c::findName(uint64_t name) const {
  for (const auto& function : m_functions) {
    if (function->name() == name) {
      return function.get();
    }
  }
  return nullptr;
}

OwnFunction_c* NetworkManagement_c::findClaimed(uint8_t address) const {
  OwnFunction_c* holder = findHolder(address);
  return holder != nullptr && holder->m_state == ClaimState_e::claimed ? holder : nullptr;
}

OwnFunction_c* NetworkManagement_c::findHolder(uint8_t address) const {
  if (address > maxAddress) {
    return nullptr;
  }
  for (const auto& function : m_functions) {
    if (function->m_address == address) {
      return function.get();
    }
  }
  return nullptr;
}

// --- What arrives

void NetworkManagement_c::handleClaim(uint8_t source, uint64_t name) {
  if (!m_bOn) {
    return;
  }
  if (source > maxAddress) {
    forget(name);
    return;
  }
  OwnFunction_c* twin = findName(name);
  if (twin != nullptr) {
    contendWithTwin(*twin);
  }
  OwnFunction_c* holder = findHolder(source);
  if (holder == nullptr) {
    learn(source, name);
  } else if (holder != twin) {
    contend(*holder, name);
  }
}

// Two of one NAME must not both be on the bus: who is there stays.
void NetworkManagement_c::contendWithTwin(OwnFunction_c& function) {
  if (function.m_state == ClaimState_e::claiming) {
    ++m_statistics.contentionsLost;
    giveUp(function);
    return;
  }
  defend(function);
}

void NetworkManagement_c::contend(OwnFunction_c& function, uint64_t name) {
  if (name < function.name()) {
    learn(function.m_address, name);
    lose(function);
    return;
  }
  forget(name); // it has left its old address for ours
  ++m_statistics.contentionsWon;
  sendClaim(function);
  if (function.m_state == ClaimState_e::claiming) {
    function.m_dueMs = HostClock::nowMs() + claimTimeMs;
  }
}

void NetworkManagement_c::handleViolation(uint8_t address) {
  if (OwnFunction_c* holder = findClaimed(address)) {
    defend(*holder);
  }
}

void NetworkManagement_c::answerRequest(uint8_t destination) {
  for (const auto& function : m_functions) {
    const bool isAsked = destination == globalAddress || destination == function->m_address;
    if (!isAsked) {
      continue;
    }
    if (function->m_address <= maxAddress) {
      sendClaim(*function);
    } else if (function->m_state == ClaimState_e::cannotClaim) {
      function->m_dueMs = std::min(function->m_dueMs, HostClock::nowMs() + randomDelayMs(function->name()));
    }
  }
}

void NetworkManagement_c::command(uint64_t name, uint8_t address) {
  OwnFunction_c* function = findName(name);
  if (function == nullptr || !m_bOn) {
    return;
  }
  const bool obeys = isSelfConfigurable(*function) && canTake(*function, address);
  if (!obeys || address == function->m_address) {
    if (function->m_address <= maxAddress) {
      sendClaim(*function);
    }
    return;
  }
  function->m_wanted = address;
  const bool isWaiting = function->m_state == ClaimState_e::claiming && function->m_address > maxAddress;
  if (!isWaiting) {
    release(*function);
    claim(*function);
  }
}

// --- The table of the others

void NetworkManagement_c::learn(uint8_t address, uint64_t name) {
  forget(name);
  m_others[address] = name;
}

void NetworkManagement_c::forget(uint64_t name) {
  for (auto other = m_others.begin(); other != m_others.end();) {
    other = other->second == name ? m_others.erase(other) : std::next(other);
  }
}

// --- The own functions

// Waits until the others had time to answer the request that was sent when the node joined.
void NetworkManagement_c::join(OwnFunction_c& function) {
  function.m_state = ClaimState_e::claiming;
  function.m_dueMs = m_joinedMs + claimTimeMs + randomDelayMs(function.name());
  if (function.m_dueMs <= HostClock::nowMs()) {
    claim(function);
  }
}

void NetworkManagement_c::leave(OwnFunction_c& function) {
  release(function);
  function.m_state = ClaimState_e::idle;
  function.m_dueMs = never;
}

// canTake: whether the function may claim the address at once or wins the contention with who is known to have it.
bool NetworkManagement_c::canTake(const OwnFunction_c& function, uint8_t address) const {
  if (address > maxAddress) {
    return false;
  }
  const OwnFunction_c* holder = findHolder(address);
  if (holder != nullptr && holder != &function && holder->name() < function.name()) {
    return false;
  }
  const auto other = m_others.find(address);
  return other == m_others.end() || other->second > function.name();
}

bool NetworkManagement_c::isFree(const OwnFunction_c& function, uint8_t address) const {
  if (m_others.count(address) != 0) {
    return false;
  }
  return std::none_of(m_functions.begin(), m_functions.end(), [&function, address](const auto& own) {
    const bool isWaitingForIt = own->m_state == ClaimState_e::claiming && own->m_wanted == address;
    return own.get() != &function && (own->m_address == address || isWaitingForIt);
  });
}

// chooseAddress: returns the address to claim, 254 when none is left. Counting up puts the 12 addresses last that have
// other uses in industry group 2.
uint8_t NetworkManagement_c::chooseAddress(const OwnFunction_c& function) const {
  if (canTake(function, function.m_wanted)) {
    return function.m_wanted;
  }
  if (!isSelfConfigurable(function)) {
    return nullAddress;
  }
  for (uint8_t address = firstFreeAddress; address <= lastFreeAddress; ++address) {
    if (isFree(function, address)) {
      return address;
    }
  }
  return nullAddress;
}

void NetworkManagement_c::claim(OwnFunction_c& function) {
  const uint8_t address = chooseAddress(function);
  if (address > maxAddress) {
    giveUp(function);
    return;
  }
  OwnFunction_c* displaced = findHolder(address);
  claimAddress(function, address);
  const bool isSent = function.m_address == address;
  if (isSent && displaced != nullptr && displaced != &function) {
    lose(*displaced);
  }
}

void NetworkManagement_c::claimAddress(OwnFunction_c& function, uint8_t address) {
  const uint64_t nowMs = HostClock::nowMs();
  function.m_state = ClaimState_e::claiming;
  function.m_address = address;
  function.m_mayDefendMs = nowMs;
  if (!sendClaim(function)) {
    function.m_address = nullAddress;
    function.m_dueMs = nowMs + retryMs;
    return;
  }
  function.m_wanted = address;
  function.m_dueMs = nowMs + claimTimeMs;
  m_others.erase(address);
}

void NetworkManagement_c::giveUp(OwnFunction_c& function) {
  release(function);
  function.m_state = ClaimState_e::cannotClaim;
  function.m_dueMs = HostClock::nowMs() + randomDelayMs(function.name());
}

// release: takes the address from the function.
void NetworkManagement_c::release(OwnFunction_c& function) {
  const uint8_t address = std::exchange(function.m_address, nullAddress);
  const bool wasClaimed = function.m_state == ClaimState_e::claimed;
  function.m_state = ClaimState_e::claiming;
  if (wasClaimed) {
    m_callbacks.addressLost(function, address);
  }
}

void NetworkManagement_c::lose(OwnFunction_c& function) {
  ++m_statistics.contentionsLost;
  release(function);
  claim(function);
}

// defend: claims again, but not so often that two who cannot agree fill the bus.
void NetworkManagement_c::defend(OwnFunction_c& function) {
  const uint64_t nowMs = HostClock::nowMs();
  if (function.m_state != ClaimState_e::claimed || nowMs < function.m_mayDefendMs) {
    return;
  }
  function.m_mayDefendMs = nowMs + defenceIntervalMs;
  sendClaim(function);
}

// --- What goes out

bool NetworkManagement_c::sendClaim(const OwnFunction_c& function) {
  const auto bytes = nameBytes(function.name());
  const IsoId_s id{6, Pgn::addressClaimed, globalAddress, function.m_address};
  if (!m_callbacks.send(id, {bytes.begin(), bytes.end()})) {
    return false;
  }
  ++m_statistics.claimsSent;
  return true;
}

void NetworkManagement_c::sendCannotClaim(const OwnFunction_c& function) {
  const auto bytes = nameBytes(function.name());
  m_callbacks.send({6, Pgn::addressClaimed, globalAddress, nullAddress}, {bytes.begin(), bytes.end()});
}

void NetworkManagement_c::request() {
  IsoId_s id{6, Pgn::request, globalAddress, nullAddress};
  const auto claimed = std::find_if(m_functions.begin(), m_functions.end(),
                                    [](const auto& function) { return function->m_state == ClaimState_e::claimed; });
  if (claimed != m_functions.end()) {
    id.source = (*claimed)->m_address;
  }
  m_requestedMs = HostClock::nowMs();
  m_callbacks.send(id, {0x00, 0xEE, 0x00}); // PGN EE00
  answerRequest(globalAddress);
}

// --- Time

void NetworkManagement_c::work() {
  if (!m_bOn) {
    return;
  }
  const uint64_t nowMs = HostClock::nowMs();
  for (const auto& function : m_functions) {
    if (function->m_dueMs <= nowMs) {
      workOn(*function);
    }
  }
  if (m_requestPeriodMs > 0 && m_requestedMs + static_cast<uint64_t>(m_requestPeriodMs) <= nowMs) {
    request();
  }
}

void NetworkManagement_c::workOn(OwnFunction_c& function) {
  if (function.m_state == ClaimState_e::cannotClaim) {
    function.m_dueMs = never;
    sendCannotClaim(function);
    return;
  }
  if (function.m_address > maxAddress) {
    claim(function);
    return;
  }
  function.m_dueMs = never;
  function.m_state = ClaimState_e::claimed;
  m_callbacks.claimed(function);
}

uint64_t NetworkManagement_c::nextDueMs() const {
  if (!m_bOn) {
    return never;
  }
  uint64_t dueMs = m_requestPeriodMs > 0 ? m_requestedMs + static_cast<uint64_t>(m_requestPeriodMs) : never;
  for (const auto& function : m_functions) {
    dueMs = std::min(dueMs, function->m_dueMs);
  }
  return dueMs;
}

} // namespace IsoBusHost
