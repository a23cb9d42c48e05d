#include "VtConnection.h"

#include "HostClock.h"
#include "Journal.h"
#include "VtSeam.h"

#include <algorithm>
#include <array>
#include <utility>

namespace IsoBusHost {

namespace {

constexpr uint64_t maintenanceMs = 1000;
constexpr uint8_t maintenanceCode = 0xFF;
constexpr uint8_t deletePoolCode = 0xB2;
constexpr uint8_t ownVersion = 4;
constexpr uint8_t unused = 0xFF;

} // namespace

VtConnection_c::VtConnection_c(VtConnectionSettings_s settings, VtConnectionLink_c::IdentState_s& ident,
                               const VtConnectionServers_c& servers)
    : m_settings(std::move(settings)), m_servers(servers), m_link(m_settings.instance, ident), m_questions(m_link),
      m_pool(m_link), m_commands(m_link, m_statistics), m_input(m_link, *m_settings.pool) {
  keepRegistered();
}

IsoAgLib::iVtClientState_t VtConnection_c::state() const {
  switch (m_step) {
  case Step_e::waitsForAddress:
    return IsoAgLib::VtClientWaitsForAddress;
  case Step_e::waitsForVt:
    return IsoAgLib::VtClientWaitsForVt;
  case Step_e::announces:
  case Step_e::asks:
    return IsoAgLib::VtClientAsksVt;
  case Step_e::loads:
  case Step_e::uploads:
  case Step_e::stores:
    return IsoAgLib::VtClientUploadsPool;
  case Step_e::connected:
    return IsoAgLib::VtClientIsConnected;
  case Step_e::refused:
    break;
  }
  return IsoAgLib::VtClientRefused;
}

void VtConnection_c::setSelection(__IsoAgLib::VtClientConnection_c::VtServerSelection accepts) {
  m_accepts = std::move(accepts);
  m_isSearchDue = true;
}

// --- What the bus says

void VtConnection_c::status(uint8_t address, uint8_t busy) {
  m_isSearchDue = true;
  if (isSpeaking() && address == m_link.vtAddress()) {
    m_pool.status(busy);
  }
}

void VtConnection_c::receive(uint8_t source, const std::vector<uint8_t>& data) {
  const bool isOurVt = isSpeaking() && source == m_link.vtAddress() && !data.empty();
  if (!isOurVt || m_isOver) {
    ignored();
    return;
  }
  if (m_questions.answer(data) || m_pool.answer(data)) {
    return;
  }
  std::optional<VtFailure_s> failure;
  if (m_commands.answer(data, failure)) {
    tellFailure(failure);
    return;
  }
  const auto taken = m_step == Step_e::connected ? m_input.take(data) : VtConnectionInput_c::Taken_e::ignored;
  if (taken == VtConnectionInput_c::Taken_e::ignored) {
    ignored();
  } else if (taken == VtConnectionInput_c::Taken_e::poolDeleted) {
    refuse(m_input.errorText() + ": it deletes the pool");
  } else if (!m_input.errorText().empty()) {
    complain(m_input.errorText());
  }
}

void VtConnection_c::acknowledgedNegatively(uint8_t source) {
  if (isSpeaking() && m_isInitiated && source == m_link.vtAddress()) {
    beginAgain("the VT at " + std::to_string(source) + " does not know the working set");
  }
}

// --- What is due

void VtConnection_c::work() {
  watch();
  for (Step_e before = Step_e::refused; before != m_step && !m_isOver;) {
    before = m_step;
    step();
  }
  if (isSpeaking() && !m_isOver) {
    sendMaintenance();
  }
}

// watch: looks whether the address and the VT are still there.
void VtConnection_c::watch() {
  const bool hasAddress = m_link.function() != nullptr;
  if (!hasAddress && m_step != Step_e::waitsForAddress) {
    fallBack(Step_e::waitsForAddress);
  }
  if (!hasAddress || m_step <= Step_e::waitsForVt) {
    return;
  }
  if (!m_servers.isThere(m_link.vtAddress(), m_vtName)) {
    fallBack(Step_e::waitsForVt);
  }
}

void VtConnection_c::step() {
  switch (m_step) {
  case Step_e::waitsForAddress:
    m_step = m_link.function() == nullptr ? m_step : Step_e::waitsForVt;
    break;
  case Step_e::waitsForVt:
    lookForVt();
    break;
  case Step_e::announces:
    announce();
    break;
  case Step_e::asks:
    ask();
    break;
  case Step_e::loads:
    load();
    break;
  case Step_e::uploads:
    upload();
    break;
  case Step_e::stores:
    store();
    break;
  case Step_e::connected:
    workOnCommands();
    break;
  case Step_e::refused:
    break;
  }
}

// fallBack: back to a step in which the VT is not spoken to. The application is told once.
void VtConnection_c::fallBack(Step_e step) {
  const bool wasConnected = m_step == Step_e::connected;
  m_step = step;
  m_isSearching = false;
  m_questions.stop();
  m_pool.stop();
  m_commands.setSending(false);
  m_commands.setKept(false);
  m_link.forgetTransfer();
  m_properties = {};
  m_isAnnounced = false;
  m_isInitiated = false;
  m_maintenanceMs = never;
  m_isOverflowTold = false;
  if (wasConnected) {
    pool().eventDisconnected();
  }
}

// After a pause: a VT that refuses at once would be asked as fast as the bus allows.
void VtConnection_c::beginAgain(const std::string& why) {
  m_pauseUntilMs = HostClock::nowMs() + vtAnswerMs;
  fallBack(Step_e::waitsForVt);
  complain(why);
}

void VtConnection_c::refuse(const std::string& why) {
  const std::string reason = "VT client " + std::to_string(m_settings.clientID) + ": " + why;
  fallBack(Step_e::refused);
  reportError(reason);
  if (!m_isOver) {
    pool().eventRefused(reason.c_str());
  }
}

void VtConnection_c::end() {
  m_isOver = true;
  if (m_step == Step_e::connected) {
    m_link.send(&deletePoolCode, 1);
  }
  m_questions.stop();
  m_pool.stop();
  m_commands.setSending(false);
  m_commands.setKept(false);
  m_step = Step_e::waitsForAddress;
  m_properties = {};
}

void VtConnection_c::sendMaintenance() {
  const uint64_t nowMs = HostClock::nowMs();
  if (m_isInitiated ? nowMs < m_maintenanceMs : !m_isAnnounced || m_link.isAnnouncing()) {
    return;
  }
  const bool isOldVt = m_properties.version == 2; // knows neither bits nor a version
  const std::array<uint8_t, 3> bytes{maintenanceCode, isOldVt ? unused : static_cast<uint8_t>(m_isInitiated ? 0 : 1),
                                     isOldVt ? unused : ownVersion};
  const bool isSent = m_link.send(bytes.data(), bytes.size());
  m_isInitiated = m_isInitiated || isSent;
  m_maintenanceMs = nowMs + maintenanceMs;
}

uint64_t VtConnection_c::dueMs() const {
  switch (m_step) {
  case Step_e::waitsForVt:
    return searchDueMs();
  case Step_e::waitsForAddress:
  case Step_e::refused:
    return never;
  default:
    return std::min({m_maintenanceMs, m_questions.dueMs(), m_pool.dueMs(), m_commands.dueMs()});
  }
}

// --- Commands

bool VtConnection_c::putCommand(const uint8_t* bytes, std::size_t length, bool mayReplace) {
  if (m_commands.put(bytes, length, mayReplace)) {
    return true;
  }
  if (m_commands.isKept() && !m_isOverflowTold) {
    m_isOverflowTold = true;
    reportError("VT client " + std::to_string(m_settings.clientID) + ": too many commands wait, one is not taken");
  }
  return false;
}

void VtConnection_c::workOnCommands() {
  m_isOverflowTold = m_isOverflowTold && m_commands.waiting() > 0;
  tellFailure(m_commands.work());
}

void VtConnection_c::tellFailure(const std::optional<VtFailure_s>& failure) {
  if (failure) {
    pool().eventCommandFailed(failure->command, failure->objectID, failure->error);
  }
}

// complain: tells the error observer, the same thing only once until the VT is connected.
void VtConnection_c::complain(const std::string& why) {
  if (why != m_complaint) {
    m_complaint = why;
    reportError("VT client " + std::to_string(m_settings.clientID) + ": " + why);
  }
}

} // namespace IsoBusHost
