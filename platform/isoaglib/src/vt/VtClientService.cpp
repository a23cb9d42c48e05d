#include "VtClientService.h"

#include "HostClock.h"
#include "VtSeam.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr std::size_t frameBytes = 8;
constexpr uint8_t negative = 1; // acknowledgement
constexpr std::size_t maxConnections = __IsoAgLib::vtObject_c::noClient;

// isRefusal: whether what a working set at an address sent to its VT is refused.
bool isRefusal(const IsoMessage_s& message, uint8_t ownAddress) {
  const std::vector<uint8_t>& data = message.data;
  return message.pgn == Pgn::acknowledgement && data.size() == frameBytes && data[0] == negative &&
         data[4] == ownAddress && data[5] == (VtPgn::toVt & 0xFFU) && data[6] == VtPgn::toVt >> 8U && data[7] == 0;
}

// Busy_c: true as long as it lives.
class Busy_c {
public:
  explicit Busy_c(bool& busy) : m_busy(busy) { m_busy = true; }
  ~Busy_c() { m_busy = false; }
  Busy_c(const Busy_c&) = delete;
  Busy_c& operator=(const Busy_c&) = delete;

private:
  bool& m_busy;
};

VtConnection_c& connectionOf(const std::shared_ptr<__IsoAgLib::VtClientConnection_c>& slot) {
  return slot->connectionState()->connection;
}

} // namespace

VtClientService_c* vtClientService(unsigned int instance) {
  // Never destroyed: an identity item of static storage may be destroyed later than anything here.
  static auto& services = *new std::array<VtClientService_c, isoInstances>{VtClientService_c(0), VtClientService_c(1)};
  return instance < services.size() ? &services[instance] : nullptr;
}

// --- The bus

void VtClientService_c::setOn(bool on) {
  m_isOn = on;
  if (on) {
    busOpened();
    return;
  }
  for (std::size_t slot = 0; slot < m_slots.size(); ++slot) {
    end(slot);
  }
  busClosed();
}

void VtClientService_c::busOpened() {
  if (m_isOn && m_handler == 0 && nodeOf(m_instance) != nullptr) {
    m_handler = nodeOf(m_instance)->onMessage([this](const IsoMessage_s& message) { hear(message); });
  }
}

void VtClientService_c::busClosed() {
  if (m_handler != 0 && nodeOf(m_instance) != nullptr) {
    nodeOf(m_instance)->removeHandler(m_handler);
  }
  m_handler = 0;
  m_inbox.clear();
  m_servers.clear();
}

void VtClientService_c::hear(const IsoMessage_s& message) {
  if (message.pgn != VtPgn::toEcu && message.pgn != Pgn::acknowledgement) {
    return;
  }
  if (!m_inbox.put(message) && slotAt(message.destination)) {
    connectionOf(slotAt(message.destination)).ignored();
  }
}

// --- Connections

std::string VtClientService_c::whatIsWrong(const VtConnectionSettings_s& settings,
                                           const VtConnectionLink_c::IdentState_s& ident) const {
  if (!m_isOn) {
    return "the client is not initialised";
  }
  if (numberOf(*settings.pool) != __IsoAgLib::vtObject_c::noClient) {
    return "the pool is registered already";
  }
  const bool isTaken = std::any_of(m_slots.begin(), m_slots.end(), [&ident](const Slot& slot) {
    return slot && connectionOf(slot).link().ident() == &ident;
  });
  return isTaken ? "the identity has a pool already" : checkVtPool(*settings.pool);
}

VtClientService_c::Connection_c* VtClientService_c::add(VtConnectionSettings_s settings,
                                                        VtConnectionLink_c::IdentState_s& ident) {
  std::string wrong = whatIsWrong(settings, ident);
  settings.clientID = freeNumber();
  if (wrong.empty() && settings.clientID == __IsoAgLib::vtObject_c::noClient) {
    wrong = "there are too many";
  }
  if (!wrong.empty()) {
    reportError("VT client of instance " + std::to_string(m_instance) + ": a pool is not registered: " + wrong);
    return nullptr;
  }
  for (uint16_t object = 0; object < settings.pool->count(); ++object) {
    settings.pool->objects()[object]->attach(m_instance, settings.clientID);
  }
  Slot& slot = m_slots[settings.clientID];
  slot = std::make_shared<Connection_c>();
  slot->setState(std::make_unique<Connection_c::State_s>(std::move(settings), ident, m_servers));
  return slot.get();
}

uint8_t VtClientService_c::freeNumber() {
  const auto free = std::find(m_slots.begin(), m_slots.end(), nullptr);
  const auto number = static_cast<std::size_t>(free - m_slots.begin());
  if (free == m_slots.end() && number < maxConnections) {
    m_slots.emplace_back();
  }
  return static_cast<uint8_t>(number);
}

bool VtClientService_c::remove(const IsoAgLib::iVtObjectPool_c& pool) {
  const uint8_t number = numberOf(pool);
  if (number == __IsoAgLib::vtObject_c::noClient) {
    return false;
  }
  end(number);
  return true;
}

void VtClientService_c::end(std::size_t slot) {
  const Slot ended = std::exchange(m_slots[slot], nullptr);
  if (!ended) {
    return;
  }
  VtConnection_c& connection = connectionOf(ended);
  connection.end();
  for (uint16_t object = 0; object < connection.pool().count(); ++object) {
    connection.pool().objects()[object]->detach();
  }
}

void VtClientService_c::forgetIdent(const VtConnectionLink_c::IdentState_s& ident) {
  for (const Slot& slot : m_slots) {
    if (slot && connectionOf(slot).link().ident() == &ident) {
      connectionOf(slot).link().forgetIdent();
    }
  }
}

VtClientService_c::Connection_c* VtClientService_c::find(uint8_t clientID) const {
  return clientID < m_slots.size() ? m_slots[clientID].get() : nullptr;
}

uint8_t VtClientService_c::numberOf(const IsoAgLib::iVtObjectPool_c& pool) const {
  for (std::size_t slot = 0; slot < m_slots.size(); ++slot) {
    if (m_slots[slot] && &connectionOf(m_slots[slot]).pool() == &pool) {
      return static_cast<uint8_t>(slot);
    }
  }
  return __IsoAgLib::vtObject_c::noClient;
}

VtClientService_c::Slot VtClientService_c::slotAt(uint8_t ownAddress) const {
  const auto found = std::find_if(m_slots.begin(), m_slots.end(), [ownAddress](const Slot& slot) {
    return slot && ownAddress <= maxAddress && connectionOf(slot).link().ownAddress() == ownAddress;
  });
  return found == m_slots.end() ? nullptr : *found;
}

// --- Work

// A connection is kept alive while it works: its application may end it in a call-back.
void VtClientService_c::work() {
  if (!m_isOn || m_isWorking) {
    return;
  }
  const Busy_c busy(m_isWorking);
  takeMessages();
  if (nodeOf(m_instance) != nullptr) {
    m_servers.dropLost(nodeOf(m_instance)->others());
  }
  for (std::size_t index = 0; index < m_slots.size(); ++index) {
    if (const Slot slot = m_slots[index]) {
      connectionOf(slot).work();
    }
  }
}

void VtClientService_c::takeMessages() {
  for (std::size_t left = VtClientInbox_c::maxMessages; left > 0 && m_inbox.take(m_message); --left) {
    dispatch(m_message);
  }
}

void VtClientService_c::dispatch(const IsoMessage_s& message) {
  if (message.pgn == Pgn::acknowledgement) {
    dispatchRefusal(message);
  } else if (message.destination != globalAddress) {
    dispatchMessage(message);
  } else if (message.data.size() == frameBytes && message.data[0] == vtStatusCode) {
    dispatchStatus(message);
  }
}

void VtClientService_c::dispatchStatus(const IsoMessage_s& message) {
  if (nodeOf(m_instance) == nullptr || !m_servers.status(message.source, nodeOf(m_instance)->others())) {
    return;
  }
  for (const Slot& slot : m_slots) {
    if (slot) {
      connectionOf(slot).status(message.source, message.data[6]);
    }
  }
}

void VtClientService_c::dispatchMessage(const IsoMessage_s& message) {
  if (const Slot slot = slotAt(message.destination)) {
    connectionOf(slot).receive(message.source, message.data);
  }
}

void VtClientService_c::dispatchRefusal(const IsoMessage_s& message) {
  for (std::size_t index = 0; index < m_slots.size(); ++index) {
    const Slot slot = m_slots[index];
    if (slot && isRefusal(message, connectionOf(slot).link().ownAddress())) {
      connectionOf(slot).acknowledgedNegatively(message.source);
    }
  }
}

uint64_t VtClientService_c::dueMs() const {
  uint64_t dueMs = m_servers.dueMs();
  for (const Slot& slot : m_slots) {
    dueMs = slot ? std::min(dueMs, connectionOf(slot).dueMs()) : dueMs;
  }
  return dueMs;
}

} // namespace IsoBusHost
