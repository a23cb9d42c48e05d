// How a connection comes about: a VT is found, asked and given the pool.
#include "HostClock.h"
#include "Identification.h"
#include "Journal.h"
#include "VtConnection.h"
#include "VtSeam.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr uint8_t vtFunction = 29;
constexpr uint64_t leastPreferredMs = 3000; // two statuses of a VT that is there, and one that is lost on the way
constexpr uint8_t bootTimeUnknown = 0xFF;

std::string hexadecimal(uint64_t name) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned int shift = 64; shift > 0; shift -= 4) {
    text += digits[name >> (shift - 4) & 0xFU];
  }
  return text;
}

IsoAgLib::iIsoName_c publishedName(uint64_t name) {
  return IsoAgLib::iIsoName_c(nameBytes(name).data());
}

uint8_t unclipped(uint8_t colour, const __IsoAgLib::vtObject_c& /*object*/, IsoAgLib::e_vtColour /*kind*/) {
  return colour;
}

std::string clientText(uint8_t clientID) {
  return "-> VT client " + std::to_string(clientID);
}

} // namespace

// --- Finding a VT

void VtConnection_c::beginSearch() {
  m_isSearching = true;
  m_isSearchDue = true;
  m_searchMs = HostClock::nowMs();
  m_preferredName = 0;
  m_preferredBootTime = 0;
  if (m_settings.storage == nullptr) {
    return;
  }
  IsoAgLib::iIsoName_c name;
  uint8_t bootTime = 0;
  m_settings.storage->loadPreferredVt(name, bootTime);
  m_preferredName = name.outputString() == nullptr ? 0 : name.value();
  m_preferredBootTime = bootTime;
  Journal::add(clientText(m_settings.clientID) + " loadPreferredVt() = " + hexadecimal(m_preferredName) + ", " +
               std::to_string(bootTime));
}

// preferredUntilMs: returns until when only the preferred VT is taken.
uint64_t VtConnection_c::preferredUntilMs() const {
  if (m_preferredName == 0) {
    return 0;
  }
  const uint64_t bootMs = m_preferredBootTime == bootTimeUnknown ? 0 : uint64_t{1000} * m_preferredBootTime;
  return m_searchMs + std::max(bootMs, leastPreferredMs);
}

uint64_t VtConnection_c::searchDueMs() const {
  const uint64_t nowMs = HostClock::nowMs();
  if (nowMs < m_pauseUntilMs) {
    return m_pauseUntilMs;
  }
  return m_isSearching && nowMs < preferredUntilMs() ? preferredUntilMs() : never;
}

bool VtConnection_c::isAcceptable(uint64_t name) const {
  if (!m_accepts) {
    return decodeName(name).function == vtFunction;
  }
  const auto accepts = m_accepts; // the application may set another one meanwhile
  return accepts(publishedName(name));
}

void VtConnection_c::lookForVt() {
  if (HostClock::nowMs() < m_pauseUntilMs) {
    return;
  }
  if (!m_isSearching) {
    beginSearch();
  }
  const bool isPreferredOnly = HostClock::nowMs() < preferredUntilMs();
  const bool isDue = m_isSearchDue || isPreferredOnly != m_isPreferredOnly;
  m_isPreferredOnly = isPreferredOnly;
  m_isSearchDue = false;
  if (m_isOver || !isDue) {
    return;
  }
  const auto servers = m_servers.all(); // the application may change the bus while it is asked
  if (m_preferredName != 0) {
    for (const auto& [address, server] : servers) {
      if (server.name == m_preferredName && isAcceptable(server.name)) {
        take(address, server);
        return;
      }
    }
  }
  for (const auto& [address, server] : servers) {
    if (!isPreferredOnly && isAcceptable(server.name)) {
      take(address, server);
      return;
    }
  }
}

void VtConnection_c::take(uint8_t address, const VtServer_s& server) {
  m_vtName = server.name;
  m_link.setVtAddress(address);
  m_isSearching = false;
  m_step = Step_e::announces;
}

// --- Asking it

void VtConnection_c::announce() {
  if (!m_isAnnounced && !m_link.announce()) {
    beginAgain("its identity is no working-set master, or working sets are off");
    return;
  }
  m_isAnnounced = true;
  sendMaintenance(); // not before the last member is announced
  if (m_isInitiated) {
    m_questions.begin(static_cast<uint32_t>(writeVtPool(pool(), VtColourClip(unclipped)).size()), m_settings.label);
    m_step = Step_e::asks;
  }
}

void VtConnection_c::ask() {
  switch (m_questions.work()) {
  case VtConnectionQuestions_c::State_e::asking:
    break;
  case VtConnectionQuestions_c::State_e::answered:
    m_properties = m_questions.properties();
    beginPool();
    break;
  case VtConnectionQuestions_c::State_e::unanswered:
    beginAgain("the VT at " + std::to_string(m_link.vtAddress()) + " does not answer");
    break;
  case VtConnectionQuestions_c::State_e::noRoom:
    refuse("the VT at " + std::to_string(m_link.vtAddress()) + " has no room for a pool of " +
           std::to_string(writeVtPool(pool(), VtColourClip(unclipped)).size()) + " bytes");
    break;
  }
}

// --- Giving it the pool

bool VtConnection_c::isAsRegistered() const {
  return !m_settings.label.empty() && writeVtPool(pool(), VtColourClip(unclipped)) == m_registered;
}

void VtConnection_c::keepRegistered() {
  if (!m_settings.label.empty()) {
    m_registered = writeVtPool(pool(), VtColourClip(unclipped));
  }
}

// What the VT has stored are the values that the records had when they were registered.
void VtConnection_c::beginPool() {
  if (!m_questions.hasStoredPool() || !isAsRegistered()) {
    beginUpload();
    return;
  }
  m_commands.setKept(true);
  m_pool.load(m_settings.label);
  m_step = Step_e::loads;
}

void VtConnection_c::load() {
  switch (m_pool.work()) {
  case VtConnectionPool_c::State_e::waiting:
    break;
  case VtConnectionPool_c::State_e::done:
    connect();
    break;
  case VtConnectionPool_c::State_e::refused:
  case VtConnectionPool_c::State_e::unanswered:
    beginUpload();
    break;
  }
}

void VtConnection_c::beginUpload() {
  m_pool.upload([this] { return writeForVt(); });
  m_step = Step_e::uploads;
}

// writeForVt: the records as they are now; changes from now on are commands.
std::vector<uint8_t> VtConnection_c::writeForVt() {
  ++m_statistics.poolsSent;
  m_commands.setKept(true);
  m_isUploadAsRegistered = isAsRegistered();
  return writeVtPool(pool(), [this](uint8_t colour, const __IsoAgLib::vtObject_c& object, IsoAgLib::e_vtColour kind) {
    return m_isOver ? colour : pool().convertColour(colour, m_properties, &object, kind);
  });
}

void VtConnection_c::upload() {
  switch (m_pool.work()) {
  case VtConnectionPool_c::State_e::waiting:
    break;
  case VtConnectionPool_c::State_e::done:
    if (!m_isUploadAsRegistered) {
      connect();
      break;
    }
    m_pool.store(m_settings.label);
    m_step = Step_e::stores;
    break;
  case VtConnectionPool_c::State_e::refused:
    refuse("the VT at " + std::to_string(m_link.vtAddress()) + " does not take the pool: " + m_pool.reason());
    break;
  case VtConnectionPool_c::State_e::unanswered:
    beginAgain("the pool cannot be sent to the VT at " + std::to_string(m_link.vtAddress()));
    break;
  }
}

void VtConnection_c::store() {
  const auto state = m_pool.work();
  if (state == VtConnectionPool_c::State_e::waiting) {
    return;
  }
  if (state == VtConnectionPool_c::State_e::refused) {
    complain("the VT at " + std::to_string(m_link.vtAddress()) + " does not store the pool: " + m_pool.reason());
  }
  connect();
}

void VtConnection_c::connect() {
  if (m_isOver) {
    return;
  }
  m_pool.stop();
  m_step = Step_e::connected;
  m_complaint.clear();
  ++m_statistics.connections;
  m_commands.setSending(true);
  if (m_settings.storage != nullptr) {
    Journal::add(clientText(m_settings.clientID) + " storePreferredVt(" + hexadecimal(m_vtName) + ", " +
                 std::to_string(m_questions.bootTime()) + ")");
    m_settings.storage->storePreferredVt(publishedName(m_vtName), m_questions.bootTime());
  }
  if (m_step == Step_e::connected && !m_isOver) {
    pool().eventConnected(m_properties);
  }
}

} // namespace IsoBusHost
