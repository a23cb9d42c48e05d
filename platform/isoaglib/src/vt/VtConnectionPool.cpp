#include "VtConnectionPool.h"

#include "HostClock.h"

#include <utility>

namespace IsoBusHost {

namespace {

constexpr uint8_t poolPart = 0x11;
constexpr uint8_t endOfPool = 0x12;
constexpr uint8_t storePool = 0xD0;
constexpr uint8_t loadPool = 0xD1;

constexpr uint8_t isStoring = 1U << 1U; // busy bits of the VT's status
constexpr uint8_t isParsing = 1U << 4U;
constexpr int idleStatusesAwaited = 3;

constexpr std::size_t frameBytes = 8;
constexpr uint16_t noObject = 0xFFFF;

struct Bit_s {
  unsigned int bit;
  const char* text;
};

// textOf: returns what the bits say, for example "out of memory, other error".
template <std::size_t count>
std::string textOf(uint8_t bits, const Bit_s (&meanings)[count]) {
  std::string text;
  for (const Bit_s& meaning : meanings) {
    if ((bits >> meaning.bit & 1U) != 0) {
      text += (text.empty() ? "" : ", ") + std::string(meaning.text);
    }
  }
  return text.empty() ? "error " + std::to_string(bits) : text;
}

std::string endOfPoolReason(const std::vector<uint8_t>& data) {
  static constexpr Bit_s errors[] = {{0, "errors in the pool"}, {1, "out of memory"}, {4, "other error"}};
  static constexpr Bit_s poolErrors[] = {
      {0, "unknown method or attribute"}, {1, "missing object"}, {2, "other"}, {3, "pool deleted"}};
  const unsigned int parent = data[2] | static_cast<unsigned int>(data[3]) << 8U;
  const unsigned int object = data[4] | static_cast<unsigned int>(data[5]) << 8U;
  std::string reason = textOf(data[1], errors);
  if (data[6] != 0) {
    reason += " (" + textOf(data[6], poolErrors) + ")";
  }
  if (object != noObject) {
    reason += ", object " + std::to_string(object);
  }
  if (parent != noObject) {
    reason += ", parent " + std::to_string(parent);
  }
  return reason;
}

std::string storageReason(uint8_t error) {
  static constexpr Bit_s errors[] = {
      {0, "storage damaged"}, {1, "label unknown"}, {2, "out of memory"}, {3, "other error"}};
  return textOf(error, errors);
}

} // namespace

void VtConnectionPool_c::load(const std::string& label) {
  begin(loadPool, label);
}

void VtConnectionPool_c::store(const std::string& label) {
  begin(storePool, label);
}

void VtConnectionPool_c::upload(Writer writer) {
  begin(endOfPool, {});
  m_writer = std::move(writer);
  m_isTransferring = true;
}

void VtConnectionPool_c::stop() {
  m_tries.over();
  m_isTransferring = false;
  m_question.clear();
  m_writer = {};
}

void VtConnectionPool_c::begin(uint8_t question, const std::string& label) {
  stop();
  m_question.assign(1, question);
  m_question.insert(m_question.end(), label.begin(), label.end());
  m_state = State_e::waiting;
  m_reason.clear();
}

VtConnectionPool_c::State_e VtConnectionPool_c::work() {
  if (m_state != State_e::waiting || m_question.empty()) {
    return m_state;
  }
  return m_isTransferring ? workOnTransfer() : workOnQuestion();
}

VtConnectionPool_c::State_e VtConnectionPool_c::workOnTransfer() {
  const bool isFailed = m_link.transfer() == VtConnectionLink_c::Transfer_e::failed;
  if (m_link.transfer() == VtConnectionLink_c::Transfer_e::sent) {
    m_link.forgetTransfer();
    m_tries.over();
    m_isTransferring = false;
    return workOnQuestion();
  }
  if (!m_tries.isOpen() ? m_link.isHeld() : !isFailed || !m_tries.isTimeOver(HostClock::nowMs())) {
    return State_e::waiting;
  }
  if (m_tries.isLast()) {
    m_state = State_e::unanswered;
    return m_state;
  }
  sendPool();
  return State_e::waiting;
}

void VtConnectionPool_c::sendPool() {
  const Writer writer = m_writer; // the application may end the connection while it is asked for colours
  std::vector<uint8_t> records = writer();
  if (!m_isTransferring) {
    return;
  }
  records.insert(records.begin(), poolPart);
  m_tries.tried(HostClock::nowMs());
  m_link.sendLong(std::move(records));
}

VtConnectionPool_c::State_e VtConnectionPool_c::workOnQuestion() {
  if (m_tries.isOpen() && !isTimeOver()) {
    return State_e::waiting;
  }
  if (m_tries.isLast()) {
    m_state = State_e::unanswered;
    return m_state;
  }
  sendQuestion();
  return State_e::waiting;
}

void VtConnectionPool_c::sendQuestion() {
  m_idleStatuses = 0;
  m_link.send(m_question.data(), m_question.size());
  m_tries.tried(HostClock::nowMs());
}

// A VT may look at a pool for a long time and say so.
bool VtConnectionPool_c::isTimeOver() const {
  return m_idleStatuses >= idleStatusesAwaited && m_tries.isTimeOver(HostClock::nowMs());
}

void VtConnectionPool_c::status(uint8_t busy) {
  m_idleStatuses = (busy & (isStoring | isParsing)) == 0 ? m_idleStatuses + 1 : 0;
}

bool VtConnectionPool_c::answer(const std::vector<uint8_t>& data) {
  const bool isAwaited = !m_question.empty() && !m_isTransferring && m_tries.isOpen() && m_state == State_e::waiting &&
                         data.size() >= frameBytes && data[0] == m_question[0];
  if (!isAwaited) {
    return false;
  }
  const bool isEndOfPool = data[0] == endOfPool;
  const uint8_t error = isEndOfPool ? data[1] : data[5];
  m_state = error == 0 ? State_e::done : State_e::refused;
  if (error != 0) {
    m_reason = isEndOfPool ? endOfPoolReason(data) : storageReason(error);
  }
  m_tries.over();
  return true;
}

uint64_t VtConnectionPool_c::dueMs() const {
  const bool isTransferUnderWay = m_link.transfer() == VtConnectionLink_c::Transfer_e::underWay;
  const bool isVtAwaited = !m_isTransferring && m_idleStatuses < idleStatusesAwaited;
  return isTransferUnderWay || isVtAwaited ? never : m_tries.dueMs();
}

} // namespace IsoBusHost
