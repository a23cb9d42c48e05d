#include "VtConnectionCommands.h"

#include "HostClock.h"

namespace IsoBusHost {

namespace {

constexpr std::size_t frameBytes = 8;
constexpr uint8_t unknownFunction = 0xFD; // answer of a VT from version 5 on: the function code follows

} // namespace

void VtConnectionCommands_c::setKept(bool on) {
  endInFlight();
  m_queue.clear();
  m_isKept = on;
}

bool VtConnectionCommands_c::put(const uint8_t* bytes, std::size_t length, bool mayReplace) {
  if (!m_isKept) {
    return false;
  }
  const bool isCommand = length >= frameBytes && factsOf(bytes[0]) != nullptr;
  const auto put = isCommand ? m_queue.put(bytes, length, mayReplace) : VtCommandQueue_c::Put_e::refused;
  m_statistics.commandsReplaced += put == VtCommandQueue_c::Put_e::replaced ? 1 : 0;
  m_statistics.commandsRefused += put == VtCommandQueue_c::Put_e::refused ? 1 : 0;
  if (put == VtCommandQueue_c::Put_e::refused) {
    return false;
  }
  sendNext();
  return true;
}

std::optional<VtFailure_s> VtConnectionCommands_c::work() {
  const uint64_t nowMs = HostClock::nowMs();
  std::optional<VtFailure_s> failure;
  if (m_tries.isOpen() && m_link.transfer() == VtConnectionLink_c::Transfer_e::sent) {
    m_link.forgetTransfer(); // the VT has all of it only now
    m_tries.waitAgain(nowMs);
  } else if (m_tries.isOpen() && m_tries.isTimeOver(nowMs) &&
             m_link.transfer() != VtConnectionLink_c::Transfer_e::underWay) {
    if (m_tries.isLast()) {
      failure = fail(VtFailure_s::noAnswer);
    } else {
      ++m_statistics.commandsRepeated;
      sendInFlight();
    }
  }
  sendNext();
  return failure;
}

bool VtConnectionCommands_c::answer(const std::vector<uint8_t>& data, std::optional<VtFailure_s>& failure) {
  if (!m_tries.isOpen() || !isAboutCommandInFlight(data)) {
    return false;
  }
  const VtCommandFacts_s& facts = *factsOf(m_inFlight.bytes[0]);
  const uint8_t error = data[0] == unknownFunction ? VtFailure_s::noAnswer : data[facts.errorAt];
  if (error != 0) {
    failure = fail(error);
  } else {
    endInFlight();
  }
  sendNext();
  return true;
}

bool VtConnectionCommands_c::isAboutCommandInFlight(const std::vector<uint8_t>& data) const {
  if (data.size() == frameBytes && data[0] == unknownFunction) {
    return data[1] == m_inFlight.bytes[0];
  }
  return isAnswer(*factsOf(m_inFlight.bytes[0]), m_inFlight.bytes.data(), data.data(), data.size());
}

void VtConnectionCommands_c::sendNext() {
  if (m_isSending && !m_tries.isOpen() && !m_queue.isEmpty() && !m_link.isHeld()) {
    m_inFlight = m_queue.takeFirst();
    ++m_statistics.commandsSent;
    sendInFlight();
  }
}

// A command that the bus does not take is one without an answer: it comes again, and not for ever.
void VtConnectionCommands_c::sendInFlight() {
  const uint8_t* bytes = m_queue.bytesOf(m_inFlight);
  if (m_inFlight.length <= frameBytes) {
    m_link.send(bytes, m_inFlight.length);
  } else {
    m_link.sendLong({bytes, bytes + m_inFlight.length});
  }
  m_tries.tried(HostClock::nowMs());
}

VtFailure_s VtConnectionCommands_c::fail(uint8_t error) {
  ++m_statistics.commandsFailed;
  const VtFailure_s failure{m_inFlight.bytes[0], objectOf(*factsOf(m_inFlight.bytes[0]), m_inFlight.bytes.data()),
                            error};
  endInFlight();
  return failure;
}

void VtConnectionCommands_c::endInFlight() {
  if (!m_tries.isOpen()) {
    return;
  }
  m_link.forgetTransfer();
  m_queue.release(m_inFlight);
  m_tries.over();
}

uint64_t VtConnectionCommands_c::dueMs() const {
  const bool isTransferUnderWay = m_link.transfer() == VtConnectionLink_c::Transfer_e::underWay;
  return m_tries.isOpen() && !isTransferUnderWay ? m_tries.dueMs() : never;
}

} // namespace IsoBusHost
